// A tree's pool of node-reference cells: blocks of 4096 cells with an occupancy bitmap.
//
// The order of cells is fixed: a cell comes from the first block that has one free; there from the first occupancy word
// with a free bit, searched from the word of the block's last allocation upwards and round; there the lowest cell.
//
// Invariants: a bit is set exactly when its cell is in use; usedCount is the number of bits set; wordsWithRoom has the
// bit of each word that is not all ones; the tree's blocksWithRoom has each block whose usedCount is below 4096.
// taken + free = 4096 x cellBlockCount. Blocks live as long as the tree.
#ifndef ARBTREE_TREE_CELL_POOL_H
#define ARBTREE_TREE_CELL_POOL_H

#include "tree/tree.h"

namespace arbtree {

inline constexpr std::uint32_t kCellsPerBlock = 4096;
inline constexpr std::uint32_t kOccupancyWords = kCellsPerBlock / 32;

struct CellBlock {
  ArbNodeRef cells[kCellsPerBlock];
  std::uint32_t occupancy[kOccupancyWords];  // bit 31 of word w is cell 32 w, bit 0 is cell 32 w + 31
  std::uint32_t usedCount;
  std::uint32_t wordHint;  // the word of the last allocation

  // For speed: bit w % 64 of word w / 64 says that occupancy[w] has a free bit; and the slot + 1 that each cell has in
  // the tree's pendingRefs, made when the block first needs it.
  std::uint64_t wordsWithRoom[kOccupancyWords / 64];
  std::uint32_t* pendingSlots;
};

// A cell that still holds what its last user left, or null when there is no memory.
ArbNodeRef* takeCell(ArbTree& tree);

// Gives a cell back. A cell that lies in no block of the tree is ignored.
void giveBackCell(ArbTree& tree, ArbNodeRef* cell);

// The block that holds a cell, or null.
CellBlock* blockOf(const ArbTree& tree, const ArbNodeRef* cell);

// Frees every block and the tables of the pool.
void destroyCells(ArbTree& tree);

}  // namespace arbtree

#endif
