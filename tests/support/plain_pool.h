// The order of cells as a plain search: the model for the trees' cell pool.
#ifndef ARBTREE_TESTS_SUPPORT_PLAIN_POOL_H
#define ARBTREE_TESTS_SUPPORT_PLAIN_POOL_H

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
      for (std::uint32_t step = 0; block.used < kCellsPerBlock && step < kOccupancyWords; ++step) {
        const std::uint32_t word = (block.hint + step) % kOccupancyWords;
        for (std::uint32_t cell = word * 32; block.usedInWord[word] < 32 && cell < word * 32 + 32; ++cell) {
          if (block.taken[cell]) continue;
          block.hint = word;
          block.set(cell, true);
          return {b, cell};
        }
      }
    }
    blocks_.push_back(std::make_unique<Block>());
    blocks_.back()->set(0, true);
    return {blocks_.size() - 1, 0};
  }
  void giveBack(Place place) { blocks_[place.block]->set(place.index, false); }
  std::size_t blockCount() const { return blocks_.size(); }

 private:
  struct Block {
    bool taken[kCellsPerBlock] = {};
    std::uint32_t usedInWord[kOccupancyWords] = {};
    std::uint32_t used = 0;
    std::uint32_t hint = 0;
    void set(std::uint32_t cell, bool value) {
      taken[cell] = value;
      usedInWord[cell / 32] += value ? 1u : 0xFFFFFFFFu;
      used += value ? 1u : 0xFFFFFFFFu;
    }
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
