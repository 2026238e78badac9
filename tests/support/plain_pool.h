// The order of cells as a plain search: the model for the trees' cell pool.
#ifndef ARBTREE_TESTS_SUPPORT_PLAIN_POOL_H
#define ARBTREE_TESTS_SUPPORT_PLAIN_POOL_H

#include <bitset>
#include <cstdint>
#include <memory>
#include <vector>

#include "tree/cell_pool.h"

namespace arbtree::test {

struct Place {
  std::size_t block;
  std::uint32_t index;
  bool operator==(const Place&) const = default;
};

// The pool as a search from the first block and, in a block, from the word of its last allocation upwards and round.
class PlainPool {
 public:
  Place take() {
    for (std::size_t b = 0; b < blocks_.size(); ++b) {
      Block& block = *blocks_[b];
      for (std::uint32_t step = 0; step < kOccupancyWords; ++step) {
        const std::uint32_t word = (block.hint + step) % kOccupancyWords;
        for (std::uint32_t cell = word * 32; cell < word * 32 + 32; ++cell) {
          if (block.used[cell]) continue;
          block.used[cell] = true;
          block.hint = word;
          return {b, cell};
        }
      }
    }
    blocks_.push_back(std::make_unique<Block>());
    blocks_.back()->used[0] = true;
    return {blocks_.size() - 1, 0};
  }
  void giveBack(Place place) { blocks_[place.block]->used[place.index] = false; }
  std::size_t blockCount() const { return blocks_.size(); }

 private:
  struct Block {
    std::bitset<kCellsPerBlock> used;
    std::uint32_t hint = 0;
  };
  std::vector<std::unique_ptr<Block>> blocks_;
};

// Where a cell of a tree lies; the block is SIZE_MAX for a cell that is not the tree's.
inline Place placeOf(const ArbTree& tree, const ArbNodeRef* cell) {
  for (std::size_t b = 0; b < tree.cellBlockCount; ++b) {
    const ArbNodeRef* const first = tree.cellBlocks[b]->cells;
    if (cell >= first && cell < first + kCellsPerBlock) return {b, static_cast<std::uint32_t>(cell - first)};
  }
  return {SIZE_MAX, 0};
}

}  // namespace arbtree::test

#endif
