// Handles for objects that a 32-bit producer argument must name. A handle is an index and a generation, so a stale or
// invented one finds nothing.
//
//    31             16 15              0
//   +-----------------+-----------------+
//   |   generation    |      index      |
//   +-----------------+-----------------+
#ifndef ARBTREE_TOOL_HANDLE_TABLE_H
#define ARBTREE_TOOL_HANDLE_TABLE_H

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace arbtree::tool {

template <typename Object>
class HandleTable {
 public:
  std::uint32_t add(Object& object) {
    std::uint32_t index = 0;
    while (index < slots_.size() && slots_[index].object) ++index;
    if (index > 0xFFFF) throw std::length_error("too many open documents");
    if (index == slots_.size()) slots_.push_back({});
    slots_[index].object = &object;
    return slots_[index].generation << 16 | index;
  }

  Object* find(std::uint32_t handle) const {
    const std::uint32_t index = handle & 0xFFFF;
    if (index >= slots_.size() || slots_[index].generation != handle >> 16) return nullptr;
    return slots_[index].object;
  }

  void remove(std::uint32_t handle) {
    if (!find(handle)) return;
    Slot& slot = slots_[handle & 0xFFFF];
    slot.object = nullptr;
    slot.generation = slot.generation == 0xFFFF ? 1 : slot.generation + 1;
  }

 private:
  struct Slot {
    Object* object = nullptr;
    std::uint32_t generation = 1;  // never 0, so that 0 is no handle
  };
  std::vector<Slot> slots_;
};

}  // namespace arbtree::tool

#endif
