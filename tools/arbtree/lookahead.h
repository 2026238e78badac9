// A source whose beginning has been looked at without being taken away.
#ifndef ARBTREE_TOOL_LOOKAHEAD_H
#define ARBTREE_TOOL_LOOKAHEAD_H

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

#include "byte_source.h"

namespace arbtree::tool {

class Lookahead final : public ByteSource {
 public:
  // Borrows the source, or owns it.
  explicit Lookahead(ByteSource& source) : source_(source) {}
  explicit Lookahead(std::unique_ptr<ByteSource> source) : owned_(std::move(source)), source_(*owned_) {}

  // At least `size` bytes from the beginning, fewer only where the source ends or fails. REQUIRES: nothing was read.
  std::string_view peek(std::size_t size) {
    while (ahead_.size() < size && !ended_) {
      const std::size_t held = ahead_.size();
      ahead_.resize(size);
      const std::optional<std::size_t> count = source_.read(ahead_.data() + held, size - held);
      ahead_.resize(held + count.value_or(0));
      ended_ = !count || *count == 0;
    }
    return ahead_;
  }

  std::optional<std::size_t> read(void* buffer, std::size_t size) override {
    if (taken_ == ahead_.size()) return source_.read(buffer, size);
    const std::size_t count = std::min(size, ahead_.size() - taken_);
    std::memcpy(buffer, ahead_.data() + taken_, count);
    taken_ += count;
    return count;
  }
  const std::string& error() const override { return source_.error(); }
  std::optional<std::uint64_t> seek(std::int64_t offset, int whence) override {
    if (whence == SEEK_CUR) offset -= static_cast<std::int64_t>(ahead_.size() - taken_);
    taken_ = ahead_.size();
    return source_.seek(offset, whence);
  }
  bool canSeek() const override { return source_.canSeek(); }

 private:
  const std::unique_ptr<ByteSource> owned_;
  ByteSource& source_;
  std::string ahead_;
  std::size_t taken_ = 0;
  bool ended_ = false;
};

}  // namespace arbtree::tool

#endif
