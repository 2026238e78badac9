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

void enterBlock(BlockRange* table, std::uint32_t capacity, CellBlock* block) {
  const std::uintptr_t range = rangeOf(block->cells);
  BlockRange& first = findRange(table, capacity, range);
  first.range = range;
  first.border = reinterpret_cast<std::uintptr_t>(block->cells);
  first.blocks[1] = block;
  BlockRange& second = findRange(table, capacity, range + 1);
  if (second.range == 0) second.border = ~std::uintptr_t{0};
  second.range = range + 1;
  second.blocks[0] = block;
}

// Keeps the table of ranges, two for a block, at most half full.
bool growRanges(ArbTree& tree) {
  const std::uint32_t capacity = 4 * tree.cellBlockCapacity;
  if (tree.blockRangeCapacity >= capacity) return true;
  auto* const grown = heap::allocateArray<BlockRange>(capacity);
  if (!grown) return false;
  for (std::uint32_t i = 0; i < tree.cellBlockCount; ++i) enterBlock(grown, capacity, tree.cellBlocks[i]);
  heap::release(tree.blockRanges);
  tree.blockRanges = grown;
  tree.blockRangeCapacity = capacity;
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
      !growRanges(tree) || !tree.blocksWithRoom.reserve(tree.cellBlockCapacity)) {
    return false;
  }
  CellBlock* const block = makeBlock(documentOf(tree));
  if (!block) return false;
  block->index = tree.cellBlockCount++;
  tree.cellBlocks[block->index] = block;
  enterBlock(tree.blockRanges, tree.blockRangeCapacity, block);
  tree.blocksWithRoom.insert(block->index);
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
  tree.blocksWithRoom.insert(block.index);
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

void destroyCells(ArbTree& tree) {
  for (std::uint32_t i = 0; i < tree.cellBlockCount; ++i) giveUpBlock(documentOf(tree), tree.cellBlocks[i]);
  heap::release(tree.cellBlocks);
  heap::release(tree.blockRanges);
  tree.blocksWithRoom.destroy();
}

void destroySpareCells(ArbDocument& document) {
  while (CellBlock* const block = takeSpare(document)) heap::release(block, sizeof *block);
}

}  // namespace arbtree
