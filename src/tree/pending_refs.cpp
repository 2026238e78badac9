#include "tree/pending_refs.h"

#include "platform/heap.h"
#include "tree/cell_pool.h"
#include "tree/growing_array.h"

namespace arbtree {
namespace {

constexpr std::uint32_t kFirstCapacity = 256;

// The remembered slot + 1 of a cell; 0 for none. REQUIRES: the block holds the cell and has pendingSlots.
std::uint32_t& slotOf(CellBlock& block, const ArbNodeRef* cell) { return block.pendingSlots[cell - block.cells]; }

bool growTable(ArbTree& tree) {
  if (!reserveOne(tree.pendingRefs, tree.pendingRefCapacity, tree.pendingRefCount, kFirstCapacity)) return false;
  return tree.freePendingSlots.reserve(tree.pendingRefCapacity);
}

}  // namespace

bool addPendingRef(ArbTree& tree, ArbNodeRef* cell) {
  CellBlock* const block = blockOf(tree, cell);
  if (!block) return false;
  if (!block->pendingSlots) block->pendingSlots = heap::allocateArray<std::uint32_t>(kCellsPerBlock);
  if (!block->pendingSlots) return false;
  std::uint32_t slot = tree.freePendingSlots.lowest();
  if (slot != LowestSet::kNone) {
    tree.freePendingSlots.erase(slot);
  } else {
    if (!growTable(tree)) return false;
    slot = tree.pendingRefCount++;
  }
  tree.pendingRefs[slot] = cell;
  slotOf(*block, cell) = slot + 1;
  return true;
}

void fetchPendingRef(const ArbTree& tree, const ArbNodeRef* cell) {
  __builtin_prefetch(cell, 1);
  CellBlock* const block = blockOf(tree, cell);
  if (block && block->pendingSlots) __builtin_prefetch(&slotOf(*block, cell), 1);
}

void removePendingRef(ArbTree& tree, ArbNodeRef* cell) {
  CellBlock* const block = blockOf(tree, cell);
  if (!block || !block->pendingSlots || slotOf(*block, cell) == 0) return;
  const std::uint32_t slot = slotOf(*block, cell) - 1;
  slotOf(*block, cell) = 0;
  tree.pendingRefs[slot] = nullptr;
  tree.freePendingSlots.insert(slot);
}

void destroyPendingRefs(ArbTree& tree) {
  for (std::uint32_t i = 0; i < tree.pendingRefCount; ++i) {
    if (tree.pendingRefs[i]) giveBackCell(tree, tree.pendingRefs[i]);
  }
  heap::release(tree.pendingRefs);
  tree.freePendingSlots.destroy();
}

}  // namespace arbtree
