// What a walk noted about each level on the way down: two bits a level, so that a million levels take 250 KB of heap
// and ordinary depths take none.
//
// Without memory for a level the walk goes on with what the level's node says when it is left instead of when it was
// entered; the two differ only where a callback completed that very node or linked one behind it meanwhile.
#ifndef ARBTREE_TREE_LEVEL_STACK_H
#define ARBTREE_TREE_LEVEL_STACK_H

#include <cstdint>

namespace arbtree {

struct Level {
  bool hadNext;  // a next sibling existed
  bool wasDone;  // what the walk does to nodes was done to this one before
};

class LevelStack {
 public:
  LevelStack() = default;
  ~LevelStack();
  LevelStack(const LevelStack&) = delete;
  LevelStack& operator=(const LevelStack&) = delete;

  void push(Level level) noexcept;
  void pop() noexcept { --depth_; }

  // The topmost level, or `now` if it could not be stored. REQUIRES: as many pushes as pops, and one more.
  Level top(Level now) const noexcept;

 private:
  static constexpr std::uint64_t kLevelsPerByte = 4;

  bool grow() noexcept;

  std::uint8_t inline_[512];
  std::uint8_t* bytes_ = inline_;
  std::uint64_t capacity_ = sizeof inline_ * kLevelsPerByte;
  std::uint64_t depth_ = 0;
};

}  // namespace arbtree

#endif
