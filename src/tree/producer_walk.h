// The producer's walk over a subtree: something is done to every node, children before their parent.
//
// It is a recursion without the stack. For each child the cell of the next sibling is read before the child is entered,
// and resolved when the child is left; on entering a node it is noted whether there is anything left to do to it. What
// is done to a node may free it, together with ancestors to which nothing is left to do, and callbacks may edit the
// lists meanwhile.
#ifndef ARBTREE_TREE_PRODUCER_WALK_H
#define ARBTREE_TREE_PRODUCER_WALK_H

#include "tree/observers.h"
#include "tree/walk_path.h"

namespace arbtree {

// Operation: `bool isDone(const ArbNode&)`, `bool mayBeFreed(const ArbNode&)` (only by what is done to a descendant),
// and `void finish(ArbNode&)`.

// The walk by the nodes' own links alone, which takes no memory. It is not the same where a callback edits the lists or
// completes nodes on the path: it then goes where the links lead when a node is left, but never above `start`.
template <typename Operation>
class LinkWalk {
 public:
  explicit LinkWalk(ArbNode& start) : start_(start) {}

  void run() {
    for (ArbNode* node = &start_; node;) {
      ArbNode* const child = firstChildOf(*node);
      if (child) ++depth_;
      node = child ? child : leaveUpwards(*node);
    }
  }

 private:
  // Where the walk goes on: into the sibling, or, if there is none, out of the parent.
  struct Place {
    ArbNodeRef* sibling;
    ArbNodeRef* parent;
  };

  // Finishes the node and each ancestor whose last child is thereby done. Gives the next node to enter, or null.
  ArbNode* leaveUpwards(ArbNode& first) {
    for (ArbNode* node = &first; node;) {
      const bool wasDone = Operation::isDone(*node);
      const Place place = placeAfter(*node);
      if (!wasDone) Operation::finish(*node);
      if (ArbNode* const next = resolve(place.sibling)) return next;
      if (place.sibling) --depth_;  // finishing the node has freed it
      node = resolve(place.parent);
    }
    return nullptr;
  }

  // Found before the node is finished. Leaves the levels of ancestors that need no finishing and may go with the node.
  Place placeAfter(const ArbNode& node) {
    for (const ArbNode* at = &node; depth_ != 0;) {
      if (nextSiblingOf(*at)) return {at->nextSiblingCell, at->parentCell};
      --depth_;
      const ArbNode* const parent = parentOf(*at);
      if (!parent || !Operation::mayBeFreed(*parent)) return {nullptr, at->parentCell};
      at = parent;
    }
    return {nullptr, nullptr};
  }

  ArbNode& start_;
  std::uint64_t depth_ = 0;  // levels below the start
};

// The walk by what was noted on the way down, whatever callbacks do meanwhile. What lies deeper than there is memory
// for is walked by the links.
template <typename Operation>
class PathWalk {
 public:
  explicit PathWalk(ArbNode& start) : start_(start) {}

  void run() {
    for (ArbNode* node = &start_; node;) {
      const WalkPath::Level level = {NodeWatch(*node), node->nextSiblingCell, Operation::isDone(*node)};
      if (path_.push(level)) {
        ArbNode* const child = firstChildOf(*node);
        node = child ? child : leaveUpwards();
      } else {
        LinkWalk<Operation>(*node).run();
        ArbNode* const next = nextAfter(level);
        node = next ? next : leaveUpwards();
      }
    }
  }

 private:
  // Finishes the innermost node and each ancestor whose last child is thereby done. Gives the next node to enter, or
  // null.
  ArbNode* leaveUpwards() {
    while (!path_.isEmpty()) {
      const WalkPath::Level level = path_.pop();
      ArbNode* const node = level.node.get();
      if (node && !level.wasDone) Operation::finish(*node);
      if (ArbNode* const next = nextAfter(level)) return next;
    }
    return nullptr;
  }

  // The start's own siblings are none of the walk's. REQUIRES: the path ends above the level.
  ArbNode* nextAfter(const WalkPath::Level& level) const { return path_.isEmpty() ? nullptr : resolve(level.next); }

  ArbNode& start_;
  WalkPath path_;
};

// Where nobody observes the tree, nobody edits its lists on the way either.
template <typename Operation>
void walkAsProducer(ArbNode& start) {
  observe(start, [&](auto observers) {
    if constexpr (isObserved(observers)) {
      PathWalk<Operation>(start).run();
    } else {
      LinkWalk<Operation>(start).run();
    }
    return ArbStatus{ARB_OK};
  });
}

}  // namespace arbtree

#endif
