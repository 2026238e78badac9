// A tree's pool of node-reference cells: blocks of 4096 cells with an occupancy bitmap.
//
// The order of cells is fixed: a cell comes from the first block that has one free; there from the first occupancy word
// with a free bit, searched from the word of the block's last allocation upwards and round; there the lowest cell.
//
// Invariants: a bit is set exactly when its cell is in use; usedCount is the number of bits set; wordsWithRoom has the
// bit of each word that is not all ones; the tree's blocksWithRoom has each block whose usedCount is below 4096, and
// blockWithRoom is the first of them, or null.
// taken + free = 4096 x cellBlockCount. Blocks live as long as the tree; the document keeps some of them for its next
// trees, with whatever their cells held.
#ifndef ARBTREE_TREE_CELL_POOL_H
#define ARBTREE_TREE_CELL_POOL_H

#include <bit>

#include "tree/tree.h"

namespace arbtree {

inline constexpr std::uint32_t kCellsPerBlock = 4096;
inline constexpr std::uint32_t kOccupancyWords = kCellsPerBlock / 32;
inline constexpr std::uint32_t kFullWord = 0xFFFFFFFF;

// Where the cells of a block are in the tree's pendingRefs; see pending_refs.cpp.
struct PendingSlots {
  struct Word {
    std::uint32_t base;
    std::uint32_t inStep;
  };
  Word words[kOccupancyWords];
  std::uint32_t* others;
};

struct CellBlock {
  ArbNodeRef cells[kCellsPerBlock];
  std::uint32_t occupancy[kOccupancyWords];  // bit 31 of word w is cell 32 w, bit 0 is cell 32 w + 31
  std::uint32_t usedCount;
  std::uint32_t wordHint;  // the word of the last allocation

  // For speed: bit w % 64 of word w / 64 says that occupancy[w] has a free bit.
  std::uint64_t wordsWithRoom[kOccupancyWords / 64];
  std::uint32_t index;  // in the tree's cellBlocks
  PendingSlots pending;
};

// Blocks are found by address, through ranges as long as the cells of a block. In each range the cells of at most one
// block go on from the range before, and those of at most one begin; the border is where these begin.
struct BlockRange {
  std::uintptr_t range;   // the address divided by the length, or 0: a free entry
  std::uintptr_t border;  // above all addresses where none begin
  CellBlock* blocks[2];   // below the border, and from the border on; null where there is none
};

inline std::uintptr_t rangeOf(const ArbNodeRef* cell) {
  return reinterpret_cast<std::uintptr_t>(cell) / sizeof(CellBlock::cells);
}

// The entry of a range, or the free one where it belongs. REQUIRES: the table has a free entry.
inline BlockRange& findRange(BlockRange* table, std::uint32_t capacity, std::uintptr_t range) {
  const std::uint32_t mask = capacity - 1;
  std::uint32_t at = static_cast<std::uint32_t>(range * 2654435761u) & mask;
  while (table[at].range != range && table[at].range != 0) at = (at + 1) & mask;
  return table[at];
}

// In bytes; of a cell elsewhere, more than the cells of a block take.
inline std::size_t offsetIn(const CellBlock& block, const ArbNodeRef* cell) {
  return reinterpret_cast<std::uintptr_t>(cell) - reinterpret_cast<std::uintptr_t>(block.cells);
}

inline bool holds(const CellBlock& block, const ArbNodeRef* cell) { return offsetIn(block, cell) < sizeof block.cells; }

// The block that holds a cell, or null. The side of the border is not branched on, since nothing foretells it.
inline CellBlock* blockOf(const ArbTree& tree, const ArbNodeRef* cell) {
  if (!tree.blockRanges) return nullptr;
  const BlockRange& entry = findRange(tree.blockRanges, tree.blockRangeCapacity, rangeOf(cell));
  CellBlock* const block = entry.blocks[reinterpret_cast<std::uintptr_t>(cell) >= entry.border];
  return block && holds(*block, cell) ? block : nullptr;
}

// Gives up every block, and frees the tables of the pool.
void destroyCells(ArbTree& tree);
void destroySpareCells(ArbDocument& document);

// What taking and giving back do seldom; nobody else calls these.
namespace cell_pool {
bool addBlock(ArbTree& tree);                      // a block whose cells are all free; false when there is no memory
std::uint32_t findWordWithRoom(CellBlock& block);  // REQUIRES: the block has a free cell
void noteFullWord(ArbTree& tree, CellBlock& block,
                  std::uint32_t w);                               // a word of the block with room has become all ones
void noteRoom(ArbTree& tree, CellBlock& block, std::uint32_t w);  // a word was all ones and has a free bit now
}  // namespace cell_pool

// Marks the cell of a free bit as in use. REQUIRES: the word has a free bit.
inline ArbNodeRef* takeFrom(CellBlock& block, std::uint32_t w) {
  const auto place = static_cast<std::uint32_t>(std::countl_one(block.occupancy[w]));
  block.occupancy[w] |= 0x80000000u >> place;
  ++block.usedCount;
  return &block.cells[w * 32 + place];
}

// The cell that takeCell would give, if that has nothing else to do: the word of the last allocation has a free bit and
// will have one then. Otherwise null.
inline ArbNodeRef* takeCellAtHand(ArbTree& tree) {
  if (!tree.blockWithRoom) return nullptr;
  CellBlock& block = *tree.blockWithRoom;
  const std::uint32_t freeBits = ~block.occupancy[block.wordHint];
  if ((freeBits & (freeBits - 1)) == 0) return nullptr;
  return takeFrom(block, block.wordHint);
}

// A cell that still holds what its last user left, or null when there is no memory.
inline ArbNodeRef* takeCell(ArbTree& tree) {
  if (!tree.blockWithRoom && !cell_pool::addBlock(tree)) [[unlikely]]
    return nullptr;
  CellBlock& block = *tree.blockWithRoom;
  if (block.occupancy[block.wordHint] == kFullWord) [[unlikely]]
    block.wordHint = cell_pool::findWordWithRoom(block);
  const std::uint32_t w = block.wordHint;
  ArbNodeRef* const cell = takeFrom(block, w);
  if (block.occupancy[w] == kFullWord) [[unlikely]]
    cell_pool::noteFullWord(tree, block, w);
  return cell;
}

// Gives a cell back. A cell that lies in no block of the tree is ignored.
inline void giveBackCell(ArbTree& tree, ArbNodeRef* cell) {
  // Cells mostly come back to the block that is being taken from.
  CellBlock* block = tree.blockWithRoom;
  if (!block || !holds(*block, cell)) [[unlikely]]
    block = blockOf(tree, cell);
  if (!block) return;
  const auto at = static_cast<std::uint32_t>(offsetIn(*block, cell) / sizeof *cell);
  const std::uint32_t bit = 0x80000000u >> (at % 32);
  const std::uint32_t word = block->occupancy[at / 32];
  if ((word & bit) == 0) [[unlikely]]  // already free
    return;
  block->occupancy[at / 32] = word & ~bit;
  --block->usedCount;
  if (word == kFullWord) [[unlikely]]
    cell_pool::noteRoom(tree, *block, at / 32);
}

}  // namespace arbtree

#endif
