// Giving out what was looked at before what comes after it.
#include "byte_source.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace arbtree::tool {

std::optional<std::string_view> ByteSource::pullNext() {
  if (!error_.empty() || isFull()) return std::nullopt;
  if (ended_) return std::string_view();
  const auto block = pull();
  if (block && block->empty()) ended_ = true;
  return block;
}

void ByteSource::given(std::string_view block) {
  bytesRead_ += block.size();
  if (holding_) held_.append(block);
}

std::optional<std::string_view> ByteSource::next() {
  if (hasPending()) {
    const std::string_view block = std::exchange(pending_, {});
    given(block);
    return block;
  }
  const auto block = pullNext();
  if (block) given(*block);
  return block;
}

std::optional<std::size_t> ByteSource::read(void* buffer, std::size_t size) {
  if (!hasPending() && pullsInto() && !holding_) {
    if (!error_.empty()) return std::nullopt;
    const auto count = pullInto(buffer, size);
    if (count) bytesRead_ += *count;
    return count;
  }
  if (!hasPending()) {
    const auto block = pullNext();
    if (!block) return std::nullopt;
    pending_ = *block;
  }
  const std::string_view part = pending_.substr(0, size);
  if (!part.empty()) std::memcpy(buffer, part.data(), part.size());
  pending_.remove_prefix(part.size());
  given(part);
  return part.size();
}

std::string_view ByteSource::peek(std::size_t wanted) {
  while (pending_.size() < wanted) {
    std::string before;
    if (hasPending()) before.assign(pending_);  // the pull overwrites the block that it is in
    const auto block = pullNext();
    if (!before.empty()) {
      store_ = std::move(before);
      if (block) store_.append(*block);
      pending_ = store_;
    } else if (block) {
      pending_ = *block;
    }
    if (!block || block->empty()) break;
  }
  return pending_;
}

void ByteSource::hold() {
  holding_ = true;
  held_.clear();
}

void ByteSource::rewind() {
  bytesRead_ -= held_.size();
  held_.append(pending_);
  store_ = std::move(held_);
  pending_ = store_;
  letGo();
}

void ByteSource::letGo() {
  holding_ = false;
  std::string().swap(held_);  // an assignment would keep the memory
}

}  // namespace arbtree::tool
