// The consumer's release of a subtree, which runs the producer until the whole subtree is known.
//
// It behaves like a recursion that waits for the first child, and for each child waits for its next sibling before it
// enters the child, so that the child is no longer the last of an open list when it is released. A bail-out may leave
// at any of these waits, so the walk keeps its place in the tree itself and owns nothing:
//  - a node on the path from the start to the current node has not been released by the consumer (else its first child
//    could not have been waited for), so none of them is freed under the walk;
//  - the next sibling that a wait has answered is still the one in the node's link when the node is left;
//  - a node that a function of the host releases while the walk waits at it may be freed, and then the walk ends there;
//  - that a wait for the next sibling failed, and the node is thus the last to be visited in its list, is noted in a
//    flag of the node, which every walk sets anew when it comes to the node.
#include "tree/node.h"

namespace arbtree {
namespace {

void noteLastVisited(ArbNode& node, bool last) { last ? giveMark(node, kLastVisited) : takeMark(node, kLastVisited); }

ArbNode* nextToVisit(const ArbNode& node) { return hasMark(node, kLastVisited) ? nullptr : nextSiblingOf(node); }

class ConsumerWalk {
 public:
  explicit ConsumerWalk(ArbNode& start) : start_(start) {}

  ArbStatus run() {
    ArbNode* node = &start_;
    while (node) {
      const NodeWatch watch(*node);
      ArbNode* const child = waitFirstChild(*node);
      if (!watch.isAlive()) break;
      if (child) ++depth_;
      node = child ? child : leaveUpwards(*node);
      if (node && !waitNextSibling(*node)) break;
    }
    return status_;
  }

 private:
  // The status of the call is that of the last wait made for the start itself or for one of its children.
  void note(ArbStatus status, const ArbNode* list) {
    if (list == &start_) status_ = status;
  }

  ArbNode* waitFirstChild(ArbNode& node) {
    ArbNode* child = nullptr;
    const ArbStatus status = ArbNodeWaitFirstChild(&node, &child);
    note(status, &node);
    return status == ARB_OK ? child : nullptr;
  }

  // False when the node is gone.
  bool waitNextSibling(ArbNode& node) {
    const NodeWatch watch(node);
    ArbNode* next = nullptr;
    const ArbStatus status = ArbNodeWaitNextSibling(&node, &next);
    if (!watch.isAlive()) return false;
    note(status, parentOf(node));
    noteLastVisited(node, status != ARB_OK || !next);
    return true;
  }

  // Releases the node and each ancestor whose last child is thereby done. Gives the next node to enter, or null.
  ArbNode* leaveUpwards(ArbNode& first) {
    for (ArbNode* node = &first; node;) {
      ArbNodeRef* const next = depth_ == 0 ? nullptr : cellOf(nextToVisit(*node));
      ArbNodeRef* const parent = node->parentCell;
      noteLastVisited(*node, false);
      ArbNodeConsumerRelease(node);  // refused, without effect, for a node that was released before
      if (depth_ == 0) return nullptr;
      if (ArbNode* const sibling = resolve(next)) return sibling;
      node = --depth_ == 0 ? resolve(startCell_) : resolve(parent);
    }
    return nullptr;
  }

  ArbNode& start_;
  ArbNodeRef* const startCell_ = start_.cell;
  std::uint64_t depth_ = 0;  // levels below the start
  ArbStatus status_ = ARB_OK;
};

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbNodeConsumerReleaseSubtree(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  if (isProducerOnly(documentOf(*node))) return ARB_ERR_MODE;
  return ConsumerWalk(*node).run();
}
