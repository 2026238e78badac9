// The checks that Query and Wait calls on nodes begin with, in their order.
#ifndef ARBTREE_NAVIGATION_ENTRY_CHECKS_H
#define ARBTREE_NAVIGATION_ENTRY_CHECKS_H

#include "tree/cell_pool.h"
#include "tree/node.h"

namespace arbtree {

// ARB_ERR_MODE in a document without a consumer, then ARB_ERR_RELEASED for a node that its consumer has released.
inline ArbStatus checkConsumer(const ArbNode& node) {
  if (isProducerOnly(documentOf(node))) return ARB_ERR_MODE;
  return has(node, ARB_NODE_CONSUMER_RELEASED) ? ARB_ERR_RELEASED : ARB_OK;
}

// Has the processor fetch the node some steps ahead: a walk in document order mostly comes to nodes in the order in
// which they were made, and so were their cells taken. What stands at that place may be any cell, or what follows the
// last. The node's place is counted as a number, since there may be none and nothing can be added to a null pointer.
[[gnu::always_inline]] inline void fetchAhead(const ArbNodeRef& cell) {
  constexpr std::size_t kAhead = 32 * sizeof(ArbNodeRef);
  static_assert(sizeof(CellBlock) - sizeof(CellBlock::cells) >= kAhead);
  const auto& ahead = *reinterpret_cast<const ArbNodeRef*>(reinterpret_cast<std::uintptr_t>(&cell) + kAhead);
  const auto node = ahead.state == ARB_REF_NODE ? ahead.value : 0;
  __builtin_prefetch(reinterpret_cast<const void*>(node));
  __builtin_prefetch(reinterpret_cast<const void*>(node + 64));
}

// The node at the end of a link of a live node, which exists as soon as the link does; null for no link.
inline ArbStatus answerLink(ArbNodeRef* cell, const ArbNode& from, ArbNode** result) {
  ArbNode* const node = resolve(cell);
  if (!node && cell) [[unlikely]]
    return ArbNodeRefWaitNode(cell, &documentOf(from), result);
  if (node) fetchAhead(*cell);
  *result = node;
  return ARB_OK;
}

}  // namespace arbtree

#endif
