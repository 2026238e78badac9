// Buffered writing to standard output. A failed write is kept; everything after it is dropped, and the caller asks
// isGood() as often as it likes.
#ifndef ARBTREE_TOOL_OUTPUT_FILE_H
#define ARBTREE_TOOL_OUTPUT_FILE_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace arbtree::tool {

class OutputFile {
 public:
  static constexpr std::size_t kBufferSize = std::size_t{64} * 1024;

  void append(std::string_view text) {
    while (text.size() > kBufferSize - used_) {
      const std::size_t part = kBufferSize - used_;
      copyIn(text.substr(0, part));
      text.remove_prefix(part);
      flush();
    }
    copyIn(text);
  }
  void append(char character) { *reserve(1) = character, ++used_; }

  // At least `size` bytes of the buffer to write to, at most kBufferSize; commit() says how many were written.
  char* reserve(std::size_t size) {
    if (size > kBufferSize - used_) flush();
    return buffer_ + used_;
  }
  std::size_t room() const { return kBufferSize - used_; }
  void commit(const char* end) { used_ = static_cast<std::size_t>(end - buffer_); }

  void flush();
  bool isGood() const { return error_ == 0; }
  // The system's number of the error; 0 while all is well.
  int error() const { return error_; }

 private:
  void copyIn(std::string_view text) {
    std::memcpy(buffer_ + used_, text.data(), text.size());
    used_ += text.size();
  }

  std::size_t used_ = 0;
  int error_ = 0;
  char buffer_[kBufferSize];
};

// Writes out what is still buffered. The answer is an exit status: 1 when the output failed, with a message unless the
// failure is only that the reader of a pipe has gone away.
int finishOutput(OutputFile& out);

}  // namespace arbtree::tool

#endif
