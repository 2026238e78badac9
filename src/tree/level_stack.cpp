#include "tree/level_stack.h"

#include <cstring>

#include "platform/heap.h"

namespace arbtree {
namespace {

constexpr unsigned kMask = 3;

unsigned shiftOf(std::uint64_t index) { return static_cast<unsigned>(index % 4 * 2); }

}  // namespace

LevelStack::~LevelStack() {
  if (bytes_ != inline_) heap::release(bytes_);
}

bool LevelStack::grow() noexcept {
  const std::uint64_t bytes = capacity_ / kLevelsPerByte;
  if (2 * bytes > SIZE_MAX) return false;
  auto* const grown = static_cast<std::uint8_t*>(heap::allocate(static_cast<std::size_t>(2 * bytes)));
  if (!grown) return false;
  std::memcpy(grown, bytes_, static_cast<std::size_t>(bytes));
  if (bytes_ != inline_) heap::release(bytes_);
  bytes_ = grown;
  capacity_ *= 2;
  return true;
}

// A level that was not stored stays unknown: those above the capacity are never grown into, since the stack only grows
// when it is exactly full.
void LevelStack::push(Level level) noexcept {
  const std::uint64_t index = depth_++;
  if (index > capacity_ || (index == capacity_ && !grow())) return;
  std::uint8_t& byte = bytes_[index / kLevelsPerByte];
  const unsigned bits = (level.hadNext ? 1u : 0u) | (level.wasDone ? 2u : 0u);
  byte = static_cast<std::uint8_t>((byte & ~(kMask << shiftOf(index))) | bits << shiftOf(index));
}

Level LevelStack::top(Level now) const noexcept {
  const std::uint64_t index = depth_ - 1;
  if (index >= capacity_) return now;
  const unsigned bits = static_cast<unsigned>(bytes_[index / kLevelsPerByte]) >> shiftOf(index);
  return {(bits & 1) != 0, (bits & 2) != 0};
}

}  // namespace arbtree
