#pragma once

// Runs the built korvan-demo in a folder and captures what it prints.
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
  std::string out, err;
};

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// A fresh, empty folder under the test temp folder.
inline std::string freshFolder(const std::string& name) {
  const std::string dir = ::testing::TempDir() + "korvan_" + name + "_" + std::to_string(getpid());
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir;
}

// `args` is appended to the program path as it stands (quote where needed).
inline DemoProcess runDemo(const std::string& args, const std::string& dir) {
  const std::string command = "cd '" + dir + "' && '" KORVAN_DEMO_PATH "' " + args + " >'" + dir +
                              "/stdout.txt' 2>'" + dir + "/stderr.txt' </dev/null";
  const int raw = std::system(command.c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readFile(dir + "/stdout.txt"),
          readFile(dir + "/stderr.txt")};
}
