#pragma once

// Command line of korvan-demo. Parsing knows nothing about the engine: the
// caller hands in the names of the scenes it can run.
#include <string>
#include <vector>

namespace KorvanDemo {

// What the command line asked for. Negative steps/dt mean "the scene's default".
struct DemoOptions {
  bool list = false;                // --list: print the scenes and stop
  bool help = false;                // --help / -h: print the usage and stop
  std::string scene = "showcase";   // scene to run when none is named
  int steps = -1;                   // --steps N
  float dt = -1.0f;                 // --dt S, seconds per step
  bool substeps = false;            // --substeps: split steps into sub-steps
  bool sleep = false;               // --sleep: let resting bodies fall asleep
  std::string solver = "faithful";  // --solver faithful|stable
  std::string outDir = ".";         // --out DIR
};

// The one-line usage text (without a trailing newline).
std::string usageLine();

// Parses argv[1..argc-1]. On a bad argument returns false and sets `error` to a
// one-line message naming the argument; `scenes` lists the valid scene names.
bool parseArguments(int argc, const char* const* argv, const std::vector<std::string>& scenes,
                    DemoOptions& options, std::string& error);

}  // namespace KorvanDemo
