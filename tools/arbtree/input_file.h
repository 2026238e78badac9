// The bytes of an input: a file, or standard input under the name "-".
#ifndef ARBTREE_TOOL_INPUT_FILE_H
#define ARBTREE_TOOL_INPUT_FILE_H

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "byte_source.h"

namespace arbtree::tool {

class InputFile final : public ByteSource {
 public:
  explicit InputFile(std::string path);
  // What is left of a source, put into a temporary file without a name; for formats that cannot be streamed. Null when
  // the source or the file fails: `problem` then says why.
  static std::unique_ptr<InputFile> spool(ByteSource& source, std::string& problem);
  ~InputFile() override;

  const std::string& path() const { return path_; }
  bool isStandardInput() const { return path_ == "-"; }
  // As messages show it: the path as it was given, or "<stdin>".
  std::string displayName() const { return isStandardInput() ? "<stdin>" : path_; }
  // The last part of the path, or "stdin".
  std::string name() const;
  // Nothing when the input is no regular file.
  std::optional<std::uint64_t> size() const { return size_; }
  // What the system says of a regular file; null for anything else.
  const struct stat* status() const { return size_ ? &status_ : nullptr; }

  // What is to be done before more is read, which may take long.
  void beforeReading(std::function<void()> work) { beforeReading_ = std::move(work); }

  bool canSeek() const override { return size_.has_value() && !isStandardInput(); }
  std::int64_t seek(std::int64_t offset, int whence) override;
  std::int64_t skip(std::int64_t count) override;

 protected:
  std::optional<std::string_view> pull() override;
  std::optional<std::size_t> pullInto(void* buffer, std::size_t size) override;
  bool pullsInto() const override { return true; }

 private:
  explicit InputFile(int descriptor);
  void examine();

  std::string path_;
  int descriptor_ = -1;
  std::optional<std::uint64_t> size_;
  struct stat status_ = {};
  std::unique_ptr<char[]> block_;
  std::function<void()> beforeReading_;
};

}  // namespace arbtree::tool

#endif
