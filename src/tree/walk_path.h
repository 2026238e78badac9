// What a walk noted about each level on its way down. Callbacks may unlink, move or free nodes of the path while the
// walk is below them, so the way back is not looked for in the nodes' links. Ordinary depths take no memory.
#ifndef ARBTREE_TREE_WALK_PATH_H
#define ARBTREE_TREE_WALK_PATH_H

#include "tree/node.h"

namespace arbtree {

class WalkPath {
 public:
  struct Level {
    NodeWatch node;
    ArbNodeRef* next;  // the next sibling's cell, as it was on entering
    bool wasDone;      // what the walk does to nodes had been done to this one before
  };

  WalkPath() {}
  ~WalkPath();
  WalkPath(const WalkPath&) = delete;
  WalkPath& operator=(const WalkPath&) = delete;

  // False, and nothing is pushed, when there is no memory.
  bool push(const Level& level) noexcept;
  // REQUIRES: not isEmpty().
  const Level& pop() noexcept { return levels_[--depth_]; }
  bool isEmpty() const noexcept { return depth_ == 0; }

 private:
  static constexpr std::size_t kFirstLevels = 32;

  bool grow() noexcept;

  union {
    Level firstLevels_[kFirstLevels];  // unset until pushed
  };
  Level* levels_ = firstLevels_;
  std::size_t capacity_ = kFirstLevels;
  std::size_t depth_ = 0;
};

}  // namespace arbtree

#endif
