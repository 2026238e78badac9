// The messages of a command, one line each on standard error, and the exit status that they amount to.
#ifndef ARBTREE_TOOL_REPORT_H
#define ARBTREE_TOOL_REPORT_H

#include <optional>
#include <string>

#include "failure.h"
#include "input_file.h"
#include "output_file.h"
#include "progress.h"

namespace arbtree::tool {

inline constexpr int kFailure = 1;
inline constexpr int kUsageError = 2;
inline constexpr int kLimitReached = 3;
inline constexpr int kInterrupted = 130;

class Report {
 public:
  Report(const InputFile& input, Progress& progress) : input_(input), progress_(progress) {}

  // "arbtree: FILE: MEMBER: reason"; without a member when its path is empty, and with line and column of a place.
  void failure(const std::string& member, const std::optional<Place>& place, const std::string& reason, int status);
  // The same without consequence.
  void warning(const std::string& member, const std::optional<Place>& place, const std::string& text);

  // 0, or the highest status of a failure.
  int status() const { return status_; }

 private:
  void print(const std::string& member, const std::optional<Place>& place, const std::string& text);

  const InputFile& input_;
  Progress& progress_;
  int status_ = 0;
};

// Writes out what is still buffered. The answer is 1 when the output failed, with a message unless the failure is only
// that the reader of a pipe has gone away.
int finishOutput(OutputFile& out);

}  // namespace arbtree::tool

#endif
