// The checks that Query and Wait calls on nodes begin with, in their order.
#ifndef ARBTREE_NAVIGATION_ENTRY_CHECKS_H
#define ARBTREE_NAVIGATION_ENTRY_CHECKS_H

#include "tree/node.h"

namespace arbtree {

// ARB_ERR_MODE in a document without a consumer, then ARB_ERR_RELEASED for a node that its consumer has released.
inline ArbStatus checkConsumer(const ArbNode& node) {
  if (isProducerOnly(documentOf(node))) return ARB_ERR_MODE;
  return has(node, ARB_NODE_CONSUMER_RELEASED) ? ARB_ERR_RELEASED : ARB_OK;
}

// The node at the end of a link of a live node, which exists as soon as the link does; null for no link.
inline ArbStatus answerLink(ArbNodeRef* cell, const ArbNode& from, ArbNode** result) {
  if (ArbNode* const node = resolve(cell)) {
    *result = node;
    return ARB_OK;
  }
  return ArbNodeRefWaitNode(cell, &documentOf(from), result);
}

}  // namespace arbtree

#endif
