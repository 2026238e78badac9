// A set of small indices that gives its lowest member without a search: a bitmap of 64-bit words with summary levels
// above it, each bit of which says whether the word below it has a bit set.
//
//   level 2                  [1]
//   level 1            [1 . . 1 . .]              bit i set exactly when word i of the level below is not zero
//   level 0   [. . 1 .] [....] [....] [1 . . .]   bit i set exactly when i is a member
//
// All zeros is a valid empty set of capacity 0, so that it can live in zeroed records.
#ifndef ARBTREE_TREE_LOWEST_SET_H
#define ARBTREE_TREE_LOWEST_SET_H

#include <cstdint>

namespace arbtree {

class LowestSet {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  // Makes room for indices below `capacity`; members stay. False when there is no memory: the set is then as it was.
  bool reserve(std::uint32_t capacity) noexcept;
  void destroy() noexcept;

  std::uint32_t capacity() const noexcept { return capacity_; }

  // REQUIRES: index < capacity(), for the three calls below.
  void insert(std::uint32_t index) noexcept;
  void erase(std::uint32_t index) noexcept;
  bool contains(std::uint32_t index) const noexcept { return (level(0)[index / 64] >> (index % 64) & 1) != 0; }

  // The lowest member, or kNone.
  std::uint32_t lowest() const noexcept;

 private:
  static constexpr std::uint32_t kMaxLevels = 6;  // 64^6 exceeds 32-bit indices

  std::uint64_t* level(std::uint32_t k) const noexcept { return words_ + levelStart_[k]; }

  std::uint64_t* words_;  // all levels in one block, level 0 first
  std::uint32_t capacity_;
  std::uint32_t levels_;
  std::uint32_t levelStart_[kMaxLevels];
};

}  // namespace arbtree

#endif
