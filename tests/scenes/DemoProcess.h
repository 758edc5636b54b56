#pragma once

// Runs the built korvan-demo and captures what it prints.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

struct DemoProcess {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// A fresh, empty folder under the test temp folder.
inline std::string freshFolder(const std::string& name) {
  const std::string dir =
      ::testing::TempDir() + "korvan_" + name + "_" + std::to_string(::getpid());
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir;
}

// `args` is appended to the program path as it stands (quote where needed).
inline DemoProcess runDemo(const std::string& args, const std::string& workDir) {
  const std::string outPath = workDir + "/stdout.txt";
  const std::string errPath = workDir + "/stderr.txt";
  const std::string command = "cd '" + workDir + "' && '" + std::string(KORVAN_DEMO_PATH) + "' " +
                              args + " >'" + outPath + "' 2>'" + errPath + "' </dev/null";
  DemoProcess p;
  const int raw = std::system(command.c_str());
  p.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  p.out = readFile(outPath);
  p.err = readFile(errPath);
  return p;
}
