// A stream of bytes that is pulled block by block: the input file, an entry of an archive, or what a compressed stream
// unpacks to. The sources of nested archives form a chain, each pulling from the one outside it, so nothing is held but
// a block a level.
//
// A source can be looked at before it is read: peek() shows its beginning, and hold() keeps what is read from then on,
// so that rewind() can give it out again.
#ifndef ARBTREE_TOOL_BYTE_SOURCE_H
#define ARBTREE_TOOL_BYTE_SOURCE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace arbtree::tool {

class ByteSource {
 public:
  ByteSource() = default;
  virtual ~ByteSource() = default;
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  // The next block, which stays valid until the next call; an empty one at the end. Nothing after a failure: error()
  // then says why.
  std::optional<std::string_view> next();
  // The same, copied: at most `size` bytes, 0 at the end.
  std::optional<std::size_t> read(void* buffer, std::size_t size);
  // The next bytes, `wanted` or more of them if there are as many; they remain to be read. A failure shows when the
  // bytes before it have been read.
  std::string_view peek(std::size_t wanted);

  void hold();
  void rewind();
  void letGo();
  // Whether all is held that may be. Until it is rewound or let go, nothing comes then, without an error.
  bool isFull() const { return holding_ && held_.size() >= kMostHeld; }

  const std::string& error() const { return error_; }
  // How many bytes have been given out.
  std::uint64_t bytesRead() const { return bytesRead_; }

  // For sources that can be read anywhere. A seek forgets what was peeked at; the answer is the new position.
  virtual bool canSeek() const { return false; }
  virtual std::int64_t seek(std::int64_t, int) { return -1; }
  // Passes over at most `count` bytes where that is cheaper than reading them; the answer is how many.
  virtual std::int64_t skip(std::int64_t) { return 0; }

 protected:
  // As next(), straight from where the bytes come from; never called again once it has ended or failed.
  virtual std::optional<std::string_view> pull() = 0;
  // As pull(), into a buffer, where a source can save itself a copy.
  virtual std::optional<std::size_t> pullInto(void*, std::size_t) { return std::nullopt; }
  virtual bool pullsInto() const { return false; }

  std::optional<std::string_view> fail(std::string reason) {
    error_ = std::move(reason);
    return std::nullopt;
  }
  bool hasPending() const { return !pending_.empty(); }
  void seekedTo(std::uint64_t position) {
    pending_ = {};
    ended_ = false;
    bytesRead_ = position;
  }
  void skipped(std::uint64_t count) { bytesRead_ += count; }

 private:
  static constexpr std::size_t kMostHeld = std::size_t{8} * 1024 * 1024;

  std::optional<std::string_view> pullNext();
  void given(std::string_view block);

  std::string error_;
  std::string_view pending_;  // pulled and not given out yet: a part of a pulled block, or of store_
  std::string store_;
  std::string held_;
  bool holding_ = false;
  bool ended_ = false;
  std::uint64_t bytesRead_ = 0;
};

}  // namespace arbtree::tool

#endif
