// Where bytes come from: a file, a member of an archive, or either of them with its beginning looked at before.
#ifndef ARBTREE_TOOL_BYTE_SOURCE_H
#define ARBTREE_TOOL_BYTE_SOURCE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace arbtree::tool {

class ByteSource {
 public:
  virtual ~ByteSource() = default;

  // Reads at most `size` bytes; 0 at the end. Nothing when the bytes cannot be had: error() then says why.
  virtual std::optional<std::size_t> read(void* buffer, std::size_t size) = 0;
  // Why the source could not be opened or read; empty while all is well.
  virtual const std::string& error() const = 0;
  // Goes to a place as lseek does and answers it; nothing when the source only goes forward.
  virtual std::optional<std::uint64_t> seek(std::int64_t, int) { return std::nullopt; }
  virtual bool canSeek() const { return false; }
};

}  // namespace arbtree::tool

#endif
