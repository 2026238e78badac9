// Drawing the bar on one line of the terminal.
#include "progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace arbtree::tool {
namespace {

constexpr std::chrono::milliseconds kFirstDraw{500};
constexpr std::chrono::milliseconds kRedraw{100};
constexpr int kBarWidth = 40;
constexpr double kMegabyte = 1e6;
constexpr char kClearLine[] = "\r\x1b[K";

void put(const std::string& text) {
  // A terminal that takes no more loses the bar and nothing else.
  if (write(STDERR_FILENO, text.data(), text.size()) < 0) return;
}

std::string bar(double share) {
  const int full = static_cast<int>(share * kBarWidth);
  std::string text = "[";
  for (int i = 0; i < kBarWidth; ++i) text += i < full ? '#' : '-';
  char percent[16];
  std::snprintf(percent, sizeof percent, "] %3d%%  ", static_cast<int>(share * 100));
  return text + percent;
}

}  // namespace

Progress::Progress(bool enabled, std::optional<std::uint64_t> size)
    : enabled_(enabled), size_(size), nextDraw_(enabled ? Clock::now() + kFirstDraw : Clock::time_point()) {}

void Progress::draw(std::uint64_t bytesRead) {
  const Clock::time_point now = Clock::now();
  if (now < nextDraw_) return;
  nextDraw_ = now + kRedraw;
  std::string line = kClearLine;
  const double read = static_cast<double>(bytesRead);
  if (size_ && *size_ != 0) line += bar(std::min(1.0, read / static_cast<double>(*size_)));
  char amount[48];
  std::snprintf(amount, sizeof amount, "%.0f MB read", read / kMegabyte);
  put(line + amount);
  drawn_ = true;
}

void Progress::clear() {
  if (drawn_) put(kClearLine);
  drawn_ = false;
}

bool progressIsWanted(bool quiet, bool writesContent) {
  return !quiet && isatty(STDERR_FILENO) == 1 && !(writesContent && isatty(STDOUT_FILENO) == 1);
}

}  // namespace arbtree::tool
