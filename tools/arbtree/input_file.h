// The bytes of an input: a file, or standard input under the name "-".
#ifndef ARBTREE_TOOL_INPUT_FILE_H
#define ARBTREE_TOOL_INPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace arbtree::tool {

class InputFile {
 public:
  explicit InputFile(std::string path);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // Reads at most `size` bytes; 0 at the end. Nothing when the system refuses: error() then says why.
  std::optional<std::size_t> read(void* buffer, std::size_t size);
  // Why the file could not be opened or read; empty while all is well.
  const std::string& error() const { return error_; }

  const std::string& path() const { return path_; }
  // As messages show it: the path as it was given, or "<stdin>".
  std::string displayName() const { return isStandardInput() ? "<stdin>" : path_; }
  std::uint64_t bytesRead() const { return bytesRead_; }
  // Nothing when the input is no regular file.
  std::optional<std::uint64_t> size() const { return size_; }

 private:
  bool isStandardInput() const { return path_ == "-"; }

  std::string path_;
  std::string error_;
  int descriptor_ = -1;
  std::uint64_t bytesRead_ = 0;
  std::optional<std::uint64_t> size_;
};

}  // namespace arbtree::tool

#endif
