// When nodes are freed, and how.
//
// The free rule: a node goes when the producer has released it, the consumer has too (or there is none), no child of it
// is alive, it is not the tree's root, and it is not the last child of an open list (the next append needs it there).
#ifndef ARBTREE_TREE_NODE_FREEING_H
#define ARBTREE_TREE_NODE_FREEING_H

#include "tree/node.h"

namespace arbtree {

// Frees the node with its whole subtree. ARB_OK, or ARB_ERR_NOTFOUND when no destroyer is known for the node itself:
// its memory is then kept. Raises ARB_EVENT_NODE_FREED for the node and for each ancestor that goes with it.
ArbStatus freeNode(ArbNode& node);

inline bool isReleasedByAll(const ArbNode& node) {
  return has(node, ARB_NODE_PRODUCER_RELEASED) &&
         (has(node, ARB_NODE_CONSUMER_RELEASED) || isProducerOnly(documentOf(node)));
}

// Frees a node that all have released, unless something keeps it. Always ARB_OK, so that a caller may end by it.
// REQUIRES: the node is alive.
ArbStatus freeUnlessKept(ArbNode& node);

}  // namespace arbtree

#endif
