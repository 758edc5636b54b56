#pragma once

// A one-line progress bar on stderr, drawn only when stderr is a terminal so
// that redirected output stays clean.
#include <cstdio>

namespace KorvanDemo {

class ProgressBar {
 public:
  // `enabled` is normally isatty(fileno(stderr)).
  ProgressBar(int total, bool enabled, std::FILE* out = stderr);
  void update(int done);
  // Clears the bar's line.
  void finish();

 private:
  int total_;
  bool enabled_;
  std::FILE* out_;
  int lastPercent_ = -1;
};

// Whether stderr is a terminal.
bool stderrIsTerminal();

}  // namespace KorvanDemo
