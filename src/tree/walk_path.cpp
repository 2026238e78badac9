#include "tree/walk_path.h"

#include <algorithm>

#include "platform/heap.h"

namespace arbtree {

WalkPath::~WalkPath() {
  if (levels_ != firstLevels_) heap::release(levels_);
}

bool WalkPath::grow() noexcept {
  auto* const grown = heap::allocateArray<Level>(2 * capacity_);
  if (!grown) return false;
  std::copy_n(levels_, depth_, grown);
  if (levels_ != firstLevels_) heap::release(levels_);
  levels_ = grown;
  capacity_ *= 2;
  return true;
}

bool WalkPath::push(const Level& level) noexcept {
  if (depth_ == capacity_ && !grow()) return false;
  levels_[depth_++] = level;
  return true;
}

}  // namespace arbtree
