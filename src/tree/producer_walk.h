// The producer's walk over a subtree: something is done to every node, children before their parent.
//
// It behaves like a recursion that, for each child, reads the next sibling before it enters the child, and that notes
// on entering a node whether there is anything left to do to it. It keeps its place by the nodes' own links; what it
// does to a node may free it, together with those of its ancestors to which nothing is left to do, so the place to go
// on at is found before. Of the next sibling only that there is one is noted on entering, and which one it is is read on
// leaving: a node that a callback has meanwhile inserted there is visited too, and one that it has taken out is not.
#ifndef ARBTREE_TREE_PRODUCER_WALK_H
#define ARBTREE_TREE_PRODUCER_WALK_H

#include "tree/level_stack.h"
#include "tree/node.h"

namespace arbtree {

// Operation: `bool isDone(const ArbNode&)`, `bool mayBeFreed(const ArbNode&)` (only by what is done to a descendant),
// and `void finish(ArbNode&)`.
template <typename Operation>
class ProducerWalk {
 public:
  explicit ProducerWalk(ArbNode& start) : start_(start) {}

  void run() {
    ArbNode* node = &start_;
    while (node) {
      enter(*node);
      if (ArbNode* const child = firstChildOf(*node)) {
        node = child;
      } else {
        node = leaveUpwards(*node);
      }
    }
  }

 private:
  // Where the walk goes on: into the sibling, or, if there is none, out of the parent.
  struct Place {
    ArbNodeRef* sibling;
    ArbNodeRef* parent;
  };

  static Level levelOf(const ArbNode& node) { return {nextSiblingOf(node) != nullptr, Operation::isDone(node)}; }

  void enter(const ArbNode& node) { levels_.push(levelOf(node)); }

  // Finishes the node and each ancestor whose last child is thereby done. Gives the next node to enter, or null.
  ArbNode* leaveUpwards(ArbNode& first) {
    ArbNode* node = &first;
    while (node) {
      const bool wasDone = levels_.top(levelOf(*node)).wasDone;
      const Place place = placeAfter(*node);
      if (!wasDone) Operation::finish(*node);
      if (ArbNode* const next = resolve(place.sibling)) return next;
      node = resolve(place.parent);
    }
    return nullptr;
  }

  // Leaves the node's level, and that of every ancestor that needs no finishing and may be freed with the node.
  Place placeAfter(const ArbNode& node) {
    for (const ArbNode* at = &node;;) {
      const bool hadNext = levels_.top(levelOf(*at)).hadNext;
      levels_.pop();
      if (at == &start_) return {nullptr, nullptr};
      const ArbNode* const parent = parentOf(*at);
      if (hadNext) return {at->nextSiblingCell, at->parentCell};
      if (!parent || !Operation::mayBeFreed(*parent)) return {nullptr, at->parentCell};
      at = parent;
    }
  }

  ArbNode& start_;
  LevelStack levels_;
};

}  // namespace arbtree

#endif
