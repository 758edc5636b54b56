#include "Options.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace KorvanDemo {

namespace {

bool parseSteps(const std::string& text, int& out) {
  if (text.empty() || text[0] == '-' || text[0] == '+') return false;
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(text.c_str(), &end, 10);
  if (errno != 0 || end == text.c_str() || *end != '\0') return false;
  if (value < 1 || value > 100000000L) return false;
  out = static_cast<int>(value);
  return true;
}

bool parseSeconds(const std::string& text, float& out) {
  if (text.empty()) return false;
  char* end = nullptr;
  errno = 0;
  const double value = std::strtod(text.c_str(), &end);
  if (errno != 0 || end == text.c_str() || *end != '\0') return false;
  // A step of a second or more is no longer a simulation step worth replaying.
  if (!std::isfinite(value) || value <= 0.0 || value > 1.0) return false;
  out = static_cast<float>(value);
  return true;
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    if (!text.empty()) text += ", ";
    text += name;
  }
  return text;
}

}  // namespace

std::string usageLine() {
  return "usage: korvan-demo [--list] [SCENE] [--steps N] [--dt S] [--substeps] [--sleep] "
         "[--solver faithful|stable] [--out DIR]";
}

bool parseArguments(int argc, const char* const* argv, const std::vector<std::string>& scenes,
                    DemoOptions& options, std::string& error) {
  bool sceneGiven = false;
  const auto fail = [&](const std::string& message) {
    error = "korvan-demo: " + message + "; " + usageLine();
    return false;
  };
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    std::string value;
    bool hasInlineValue = false;
    if (arg.size() > 2 && arg.compare(0, 2, "--") == 0) {
      const std::size_t eq = arg.find('=');
      if (eq != std::string::npos) {
        value = arg.substr(eq + 1);
        arg = arg.substr(0, eq);
        hasInlineValue = true;
      }
    }
    const auto takeValue = [&](std::string& into) {
      if (hasInlineValue) {
        into = value;
        return true;
      }
      if (i + 1 >= argc) return false;
      into = argv[++i];
      return true;
    };
    const auto noValue = [&]() { return !hasInlineValue; };

    if (arg == "--list") {
      if (!noValue()) return fail("option --list takes no value");
      options.list = true;
    } else if (arg == "--help" || arg == "-h") {
      if (!noValue()) return fail("option " + arg + " takes no value");
      options.help = true;
    } else if (arg == "--substeps") {
      if (!noValue()) return fail("option --substeps takes no value");
      options.substeps = true;
    } else if (arg == "--sleep") {
      if (!noValue()) return fail("option --sleep takes no value");
      options.sleep = true;
    } else if (arg == "--solver") {
      std::string text;
      if (!takeValue(text)) return fail("option --solver needs a value");
      if (text != "faithful" && text != "stable")
        return fail("bad value for --solver: '" + text + "' (expected faithful or stable)");
      options.solver = text;
    } else if (arg == "--steps") {
      std::string text;
      if (!takeValue(text)) return fail("option --steps needs a value");
      if (!parseSteps(text, options.steps))
        return fail("bad value for --steps: '" + text + "' (expected a whole number from 1)");
    } else if (arg == "--dt") {
      std::string text;
      if (!takeValue(text)) return fail("option --dt needs a value");
      if (!parseSeconds(text, options.dt))
        return fail("bad value for --dt: '" + text + "' (expected seconds, above 0 and at most 1)");
    } else if (arg == "--out") {
      std::string text;
      if (!takeValue(text)) return fail("option --out needs a value");
      if (text.empty()) return fail("bad value for --out: empty folder name");
      options.outDir = text;
    } else if (!arg.empty() && arg[0] == '-') {
      return fail("unknown option '" + arg + "'");
    } else {
      if (sceneGiven) return fail("unexpected argument '" + arg + "' (only one scene can run)");
      bool known = false;
      for (const std::string& name : scenes) known = known || name == arg;
      if (!known) return fail("unknown scene '" + arg + "' (scenes: " + joined(scenes) + ")");
      options.scene = arg;
      sceneGiven = true;
    }
  }
  return true;
}

}  // namespace KorvanDemo
