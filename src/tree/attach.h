// The attach notification: what happens when a node becomes connected to the tree's root.
#ifndef ARBTREE_TREE_ATTACH_H
#define ARBTREE_TREE_ATTACH_H

#include "nodetypes/text_value.h"
#include "tree/observers.h"

namespace arbtree {

inline std::uint64_t accountedBytes(const ArbNode& node) {
  const std::uint64_t units = isTextBearing(elementIdOf(node)) ? asText(node).textLength : 0;
  return node.size + 2 * units;
}

// The counter stops at its largest value, so that a huge chunk stays due for a break.
inline void countBytes(ArbDocument& document, std::uint64_t bytes) {
  const std::uint64_t sum = document.chunkBytes + bytes;
  document.chunkBytes = sum > UINT32_MAX ? UINT32_MAX : static_cast<std::uint32_t>(sum);
}

template <typename Observers>
void enterTree(Observers observers, ArbNode& node) {
  give(node, ARB_NODE_IN_TREE);
  countBytes(documentOf(node), accountedBytes(node));
  raiseEvent(observers, ARB_EVENT_NODE_IN_TREE, node);
}

// Those of a node that has just entered the tree.
void notifyDescendantsAttached(ArbNode& start);

// Marks the node and its subtree as in the tree, a node before its children; counts each node's bytes against the chunk
// and raises ARB_EVENT_NODE_IN_TREE for it. A node that is in the tree already is passed over with its subtree.
template <typename Observers>
void notifyAttached(Observers observers, ArbNode& node) {
  if (has(node, ARB_NODE_IN_TREE)) return;
  const NodeWatch watch(node);
  enterTree(observers, node);
  if (isObserved(observers) && !watch.isAlive()) return;
  if (node.firstChildCell) [[unlikely]]
    notifyDescendantsAttached(node);
}

}  // namespace arbtree

#endif
