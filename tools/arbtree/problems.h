// The messages about what is wrong with an input, one line each on standard error as they come up, and the exit status
// that they amount to:
//
//   arbtree: FILE: PATH: reason                   a member, or the archive FILE when there is no path
//   arbtree: FILE: PATH:LINE:COLUMN: reason       an XML member
//   arbtree: FILE:LINE:COLUMN: reason             FILE itself, which is XML
#ifndef ARBTREE_TOOL_PROBLEMS_H
#define ARBTREE_TOOL_PROBLEMS_H

#include <string>

#include "failure.h"
#include "input_file.h"
#include "progress.h"

namespace arbtree::tool {

// Exit statuses; the highest that came up counts.
inline constexpr int kInputFailed = 1;
inline constexpr int kUsageError = 2;
inline constexpr int kLimitPassed = 3;

class Problems {
 public:
  Problems(const InputFile& input, Progress& progress) : input_(input), progress_(progress) {}

  // Paths are in the archive's bytes.
  void member(const std::string& path, const std::string& reason, int status = kInputFailed);
  void xml(const std::string& path, const Failure& failure);
  void warning(const std::string& path, const Place& place, const std::string& text);

  int status() const { return status_; }

 private:
  void print(const std::string& path, const std::string& place, const std::string& text);

  const InputFile& input_;
  Progress& progress_;
  int status_ = 0;
};

}  // namespace arbtree::tool

#endif
