// The bytes of an input: a file, or standard input under the name "-".
#ifndef ARBTREE_TOOL_INPUT_FILE_H
#define ARBTREE_TOOL_INPUT_FILE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "byte_source.h"

namespace arbtree::tool {

class InputFile final : public ByteSource {
 public:
  explicit InputFile(std::string path);
  ~InputFile() override;
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  std::optional<std::size_t> read(void* buffer, std::size_t size) override;
  const std::string& error() const override { return error_; }
  // A regular file can be gone to any place of.
  std::optional<std::uint64_t> seek(std::int64_t offset, int whence) override;
  bool canSeek() const override { return size_.has_value(); }

  const std::string& path() const { return path_; }
  // As messages show it: the path as it was given, or "<stdin>".
  std::string displayName() const { return isStandardInput() ? "<stdin>" : path_; }
  const std::uint64_t& bytesRead() const { return bytesRead_; }
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
