#include "Progress.h"

#include <unistd.h>

namespace KorvanDemo {

ProgressBar::ProgressBar(int total, bool enabled, std::FILE* out)
    : total_(total > 0 ? total : 1), enabled_(enabled), out_(out) {}

void ProgressBar::update(int done) {
  if (!enabled_) return;
  const int percent = static_cast<int>(100LL * done / total_);
  if (percent == lastPercent_) return;
  lastPercent_ = percent;
  constexpr int kWidth = 40;
  char bar[kWidth + 1];
  const int filled = percent * kWidth / 100;
  for (int i = 0; i < kWidth; ++i) bar[i] = i < filled ? '#' : '-';
  bar[kWidth] = '\0';
  std::fprintf(out_, "\r[%s] %3d%%  step %d/%d", bar, percent, done, total_);
  std::fflush(out_);
}

void ProgressBar::finish() {
  if (!enabled_) return;
  std::fprintf(out_, "\r%*s\r", 72, "");
  std::fflush(out_);
}

bool stderrIsTerminal() { return isatty(fileno(stderr)) != 0; }

}  // namespace KorvanDemo
