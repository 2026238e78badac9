// Arrays of the tree record that only grow: a first size, then doubled, the old entries copied.
#ifndef ARBTREE_TREE_GROWING_ARRAY_H
#define ARBTREE_TREE_GROWING_ARRAY_H

#include <algorithm>

#include "platform/heap.h"

namespace arbtree {

// Makes room for one more entry. False when there is no memory: the array is then as it was.
template <typename Entry>
bool reserveOne(Entry*& entries, std::uint32_t& capacity, std::uint32_t count, std::uint32_t firstCapacity) {
  if (count < capacity) return true;
  if (capacity > UINT32_MAX / 2) return false;
  const std::uint32_t grownCapacity = capacity ? 2 * capacity : firstCapacity;
  auto* const grown = heap::allocateArray<Entry>(grownCapacity);
  if (!grown) return false;
  std::copy_n(entries, count, grown);
  heap::release(entries);
  entries = grown;
  capacity = grownCapacity;
  return true;
}

}  // namespace arbtree

#endif
