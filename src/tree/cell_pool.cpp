#include "tree/cell_pool.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <utility>

#include "platform/heap.h"
#include "tree/growing_array.h"

namespace arbtree {
namespace {

constexpr std::uint32_t kFirstBlockCapacity = 16;
constexpr std::uint32_t kMaxSpares = 33;  // one more than the child documents of a chunk
constexpr std::uint32_t kNoBlock = 0xFFFFFFFF;

// Blocks are found by address through ranges as long as a block's cells: no two blocks start in one range, and a cell
// lies in the range its block starts in or in the one after it.
std::uintptr_t rangeOf(const void* address) {
  return reinterpret_cast<std::uintptr_t>(address) / sizeof(CellBlock::cells);
}

std::uint32_t hashSlot(std::uintptr_t range, std::uint32_t capacity) {
  return static_cast<std::uint32_t>(range * 2654435761u) & (capacity - 1);
}

void enterByAddress(ArbTree& tree, std::uint32_t index) {
  const std::uint32_t mask = tree.blockByAddressCapacity - 1;
  std::uint32_t slot = hashSlot(rangeOf(tree.cellBlocks[index]), tree.blockByAddressCapacity);
  while (tree.blockByAddress[slot] != 0) slot = (slot + 1) & mask;
  tree.blockByAddress[slot] = index + 1;
}

std::uint32_t blockStartingIn(const ArbTree& tree, std::uintptr_t range) {
  const std::uint32_t mask = tree.blockByAddressCapacity - 1;
  for (std::uint32_t slot = hashSlot(range, tree.blockByAddressCapacity); tree.blockByAddress[slot] != 0;
       slot = (slot + 1) & mask) {
    const std::uint32_t index = tree.blockByAddress[slot] - 1;
    if (rangeOf(tree.cellBlocks[index]) == range) return index;
  }
  return kNoBlock;
}

std::uint32_t indexOfBlock(const ArbTree& tree, const ArbNodeRef* cell) {
  if (tree.cellBlockCount == 0) return kNoBlock;
  const std::uintptr_t range = rangeOf(cell);
  std::uint32_t index = blockStartingIn(tree, range);
  if (index == kNoBlock || !holds(*tree.cellBlocks[index], cell)) index = blockStartingIn(tree, range - 1);
  return index != kNoBlock && holds(*tree.cellBlocks[index], cell) ? index : kNoBlock;
}

// Keeps the address table at most half full.
bool growAddressTable(ArbTree& tree) {
  const std::uint32_t capacity = 2 * tree.cellBlockCapacity;
  if (tree.blockByAddressCapacity >= capacity) return true;
  auto* const grown = heap::allocateArray<std::uint32_t>(capacity);
  if (!grown) return false;
  heap::release(tree.blockByAddress);
  tree.blockByAddress = grown;
  tree.blockByAddressCapacity = capacity;
  for (std::uint32_t i = 0; i < tree.cellBlockCount; ++i) enterByAddress(tree, i);
  return true;
}

// Spare blocks are linked through their first cells.
CellBlock* nextSpare(const CellBlock& block) { return reinterpret_cast<CellBlock*>(block.cells[0].value); }

CellBlock* takeSpare(ArbDocument& document) {
  CellBlock* const block = document.spareCellBlocks;
  if (!block) return nullptr;
  document.spareCellBlocks = nextSpare(*block);
  --document.spareCellBlockCount;
  constexpr std::size_t kCells = sizeof(CellBlock::cells);
  std::memset(reinterpret_cast<char*>(block) + kCells, 0, sizeof *block - kCells);
  return block;
}

// A block whose cells are all free, or null.
CellBlock* makeBlock(ArbDocument& document) {
  CellBlock* block = takeSpare(document);
  if (!block) block = heap::allocateRecord<CellBlock>();
  if (block) std::fill(std::begin(block->wordsWithRoom), std::end(block->wordsWithRoom), ~std::uint64_t{0});
  return block;
}

void giveUpBlock(ArbDocument& document, CellBlock* block) {
  heap::release(block->pending.others);
  if (document.spareCellBlockCount == kMaxSpares) return heap::release(block, sizeof *block);
  block->cells[0].value = reinterpret_cast<std::uintptr_t>(document.spareCellBlocks);
  document.spareCellBlocks = block;
  ++document.spareCellBlockCount;
}

}  // namespace

[[gnu::noinline]] bool cell_pool::addBlock(ArbTree& tree) {
  if (!reserveOne(tree.cellBlocks, tree.cellBlockCapacity, tree.cellBlockCount, kFirstBlockCapacity) ||
      !growAddressTable(tree) || !tree.blocksWithRoom.reserve(tree.cellBlockCapacity)) {
    return false;
  }
  CellBlock* const block = makeBlock(documentOf(tree));
  if (!block) return false;
  const std::uint32_t index = tree.cellBlockCount++;
  tree.cellBlocks[index] = block;
  enterByAddress(tree, index);
  tree.blocksWithRoom.insert(index);
  if (!tree.blockWithRoom) tree.blockWithRoom = block;
  return true;
}

[[gnu::noinline]] void cell_pool::noteFullWord(ArbTree& tree, CellBlock& block, std::uint32_t w) {
  block.wordsWithRoom[w / 64] &= ~(std::uint64_t{1} << (w % 64));
  if (block.usedCount < kCellsPerBlock) return;
  tree.blocksWithRoom.erase(tree.blocksWithRoom.lowest());
  const std::uint32_t first = tree.blocksWithRoom.lowest();
  tree.blockWithRoom = first == LowestSet::kNone ? nullptr : tree.cellBlocks[first];
}

[[gnu::noinline]] void cell_pool::noteRoom(ArbTree& tree, CellBlock& block, std::uint32_t w) {
  block.wordsWithRoom[w / 64] |= std::uint64_t{1} << (w % 64);
  if (block.usedCount != kCellsPerBlock - 1) return;
  tree.blocksWithRoom.insert(indexOfBlock(tree, block.cells));
  tree.blockWithRoom = tree.cellBlocks[tree.blocksWithRoom.lowest()];
}

// From the hint upwards and round.
[[gnu::noinline]] std::uint32_t cell_pool::findWordWithRoom(CellBlock& block) {
  const std::uint32_t hint = block.wordHint;
  constexpr std::uint32_t kWords = kOccupancyWords / 64;
  const std::uint64_t fromHint = ~std::uint64_t{0} << (hint % 64);
  for (std::uint32_t i = 0; i <= kWords; ++i) {
    const std::uint32_t at = (hint / 64 + i) % kWords;
    std::uint64_t room = block.wordsWithRoom[at];
    if (i == 0) room &= fromHint;
    if (i == kWords) room &= ~fromHint;
    if (room != 0) return at * 64 + static_cast<std::uint32_t>(std::countr_zero(room));
  }
  return hint;  // not reached while the block has a free cell
}

[[gnu::noinline]] CellBlock* blockOf(const ArbTree& tree, const ArbNodeRef* cell) {
  const std::uint32_t index = indexOfBlock(tree, cell);
  return index == kNoBlock ? nullptr : tree.cellBlocks[index];
}

void destroyCells(ArbTree& tree) {
  for (std::uint32_t i = 0; i < tree.cellBlockCount; ++i) giveUpBlock(documentOf(tree), tree.cellBlocks[i]);
  heap::release(tree.cellBlocks);
  heap::release(tree.blockByAddress);
  tree.blocksWithRoom.destroy();
}

void destroySpareCells(ArbDocument& document) {
  while (CellBlock* const block = takeSpare(document)) heap::release(block, sizeof *block);
}

}  // namespace arbtree
