// A progress bar on standard error for work that takes long: how much of the input has been read. It shows nothing on
// work that ends within half a second, and is redrawn about ten times a second.
#ifndef ARBTREE_TOOL_PROGRESS_H
#define ARBTREE_TOOL_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <optional>

namespace arbtree::tool {

class Progress {
 public:
  // Without a size to come to, only the amount read is shown.
  Progress(bool enabled, std::optional<std::uint64_t> size);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void update(std::uint64_t bytesRead) {
    if (enabled_) draw(bytesRead);
  }
  // Takes the bar away; to be called before anything else is printed.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;

  void draw(std::uint64_t bytesRead);

  const bool enabled_;
  const std::optional<std::uint64_t> size_;
  Clock::time_point nextDraw_;
  bool drawn_ = false;
};

// Whether a bar is wanted: a terminal to draw it on, and no output that shares the terminal.
bool progressIsWanted(bool quiet, bool writesContent);

}  // namespace arbtree::tool

#endif
