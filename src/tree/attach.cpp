#include "tree/attach.h"

namespace arbtree {

[[gnu::noinline]] void notifyDescendantsAttached(ArbNode& start) {
  ArbNode* node = firstChildOf(start);
  while (node) {
    ArbNode* child = nullptr;
    if (!has(*node, ARB_NODE_IN_TREE)) {
      enterTree(Observed{}, *node);
      child = firstChildOf(*node);
    }
    node = child ? child : followingInSubtree(node, start);
  }
}

}  // namespace arbtree
