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
  std::uint32_t base[kOccupancyWords];
  std::uint8_t inStep[kOccupancyWords];
  std::uint32_t* others;
};

struct CellBlock {
  ArbNodeRef cells[kCellsPerBlock];
  std::uint32_t occupancy[kOccupancyWords];  // bit 31 of word w is cell 32 w, bit 0 is cell 32 w + 31
  std::uint32_t usedCount;
  std::uint32_t wordHint;  // the word of the last allocation

  // For speed: bit w % 64 of word w / 64 says that occupancy[w] has a free bit.
  std::uint64_t wordsWithRoom[kOccupancyWords / 64];
  PendingSlots pending;
};

// The block that holds a cell, or null.
CellBlock* blockOf(const ArbTree& tree, const ArbNodeRef* cell);

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

inline bool holds(const CellBlock& block, const ArbNodeRef* cell) {
  return reinterpret_cast<std::uintptr_t>(cell) - reinterpret_cast<std::uintptr_t>(block.cells) < sizeof block.cells;
}

// Gives a cell back. A cell that lies in no block of the tree is ignored.
inline void giveBackCell(ArbTree& tree, ArbNodeRef* cell) {
  // Cells mostly come back to the block that is being taken from.
  CellBlock* block = tree.blockWithRoom;
  if (!block || !holds(*block, cell)) [[unlikely]]
    block = blockOf(tree, cell);
  if (!block) return;
  const auto at = static_cast<std::uint32_t>(cell - block->cells);
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
