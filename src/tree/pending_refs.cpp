// How a block knows the slots of its cells without a memory access for each of them: references made one after another
// get cells and slots one after another, so for the 32 cells of an occupancy word one number tells the slots of all
// that are in step,
//
//   slot of a cell = base of its word + the cell's place in the word
//
// and the table itself tells whether a cell is there. The cells that are out of step are in a table of their own, which
// the block gets with the first of them. Invariants: a word's inStep counts its cells that are in step; others, if
// there, holds the slot + 1 of each cell that is out of step, and 0 for every other cell.
#include "tree/pending_refs.h"

#include <utility>

#include "platform/heap.h"
#include "tree/growing_array.h"

namespace arbtree {
namespace {

constexpr std::uint32_t kFirstCapacity = 256;
constexpr std::uint32_t kNoSlot = 0xFFFFFFFF;

bool growTable(ArbTree& tree) {
  if (!reserveOne(tree.pendingRefs, tree.pendingRefCapacity, tree.pendingRefCount, kFirstCapacity)) return false;
  return tree.freePendingSlots.reserve(tree.pendingRefCapacity);
}

std::uint32_t indexIn(const CellBlock& block, const ArbNodeRef* cell) {
  return static_cast<std::uint32_t>(cell - block.cells);
}

// The slot that the cell has if it is in step. It wraps around, so that any slot can be told.
std::uint32_t slotInStep(const PendingSlots& pending, std::uint32_t at) {
  return pending.words[at / 32].base + at % 32;
}

// Notes the slot of a cell. False when there is no memory.
bool noteSlot(PendingSlots& pending, std::uint32_t at, std::uint32_t slot) {
  PendingSlots::Word& word = pending.words[at / 32];
  if (word.inStep == 0) word.base = slot - at % 32;
  if (slotInStep(pending, at) == slot) {
    ++word.inStep;
    return true;
  }
  if (!pending.others) pending.others = heap::allocateArray<std::uint32_t>(kCellsPerBlock);
  if (!pending.others) return false;
  pending.others[at] = slot + 1;
  return true;
}

// The slot of a cell, which is not noted any more; kNoSlot if it has none.
std::uint32_t takeSlot(const ArbTree& tree, CellBlock& block, const ArbNodeRef* cell) {
  PendingSlots& pending = block.pending;
  const std::uint32_t at = indexIn(block, cell);
  if (pending.others && pending.others[at] != 0) return std::exchange(pending.others[at], 0) - 1;
  const std::uint32_t slot = slotInStep(pending, at);
  PendingSlots::Word& word = pending.words[at / 32];
  if (word.inStep == 0 || slot >= tree.pendingRefCount || tree.pendingRefs[slot] != cell) return kNoSlot;
  --word.inStep;
  return slot;
}

}  // namespace

bool addPendingRef(ArbTree& tree, ArbNodeRef* cell) {
  CellBlock* const block = blockOf(tree, cell);
  if (!block) return false;
  std::uint32_t slot = tree.freePendingSlots.lowest();
  const bool reused = slot != LowestSet::kNone;
  if (!reused) {
    if (!growTable(tree)) return false;
    slot = tree.pendingRefCount;
  }
  if (!noteSlot(block->pending, indexIn(*block, cell), slot)) return false;
  if (reused) {
    tree.freePendingSlots.erase(slot);
  } else {
    ++tree.pendingRefCount;
  }
  tree.pendingRefs[slot] = cell;
  return true;
}

CellBlock* fetchPendingRef(const ArbTree& tree, const ArbNodeRef* cell) {
  __builtin_prefetch(cell, 1);
  CellBlock* const block = blockOf(tree, cell);
  if (!block) return nullptr;
  const std::uint32_t slot = slotInStep(block->pending, indexIn(*block, cell));
  if (slot < tree.pendingRefCount) __builtin_prefetch(&tree.pendingRefs[slot], 1);
  return block;
}

void removePendingRef(ArbTree& tree, CellBlock* block, ArbNodeRef* cell) {
  const std::uint32_t slot = block ? takeSlot(tree, *block, cell) : kNoSlot;
  if (slot == kNoSlot) return;
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
