// Completing a node, shared by the calls that complete and those that release.
#ifndef ARBTREE_TREE_COMPLETION_H
#define ARBTREE_TREE_COMPLETION_H

#include "tree/node.h"

namespace arbtree {

// Calls the producer node hooks of an event; a tree without hooks pays one comparison.
inline ArbStatus raiseHook(ArbNode& node, std::uint32_t event) {
  if (node.tree->hookCount == 0) return ARB_OK;
  return ArbTreeCallProducerNodeHook(node.tree, event, elementIdOf(node), &node, nullptr);
}

inline bool isComplete(const ArbNode& node) { return has(node, ARB_NODE_ATTRIBUTES_DONE | ARB_NODE_CHILDREN_DONE); }

// Calls the attributes-done hooks, then sets the flag whatever they returned, and raises the event. Gives the hooks'
// status; ARB_OK when the attributes were done already.
ArbStatus completeAttributes(ArbNode& node);

// Closes the child list and raises the event, also when it was closed already.
void closeChildren(ArbNode& node);

}  // namespace arbtree

#endif
