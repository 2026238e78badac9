// Completing a node, shared by the calls that complete and those that release.
#ifndef ARBTREE_TREE_COMPLETION_H
#define ARBTREE_TREE_COMPLETION_H

#include "tree/observers.h"

namespace arbtree {

inline bool isComplete(const ArbNode& node) { return has(node, ARB_NODE_ATTRIBUTES_DONE | ARB_NODE_CHILDREN_DONE); }

// Calls the attributes-done hooks, then sets the flag whatever they returned, and raises the event. Gives the hooks'
// status; ARB_OK when the attributes were done already.
template <typename Observers>
ArbStatus completeAttributes(Observers observers, ArbNode& node) {
  if (has(node, ARB_NODE_ATTRIBUTES_DONE)) [[unlikely]]
    return ARB_OK;
  const ArbStatus status = raiseHook(observers, ARB_HOOK_ATTRIBUTES_DONE, node);
  give(node, ARB_NODE_ATTRIBUTES_DONE);
  raiseEvent(observers, ARB_EVENT_ATTRIBUTES_DONE, node);
  return status;
}

inline ArbStatus completeAttributes(Unobserved, ArbNode& node) {
  give(node, ARB_NODE_ATTRIBUTES_DONE);
  return ARB_OK;
}

// Closes the child list and raises the event, also when it was closed already.
template <typename Observers>
void closeChildren(Observers observers, ArbNode& node) {
  give(node, ARB_NODE_CHILDREN_DONE);
  raiseEvent(observers, ARB_EVENT_CHILDREN_DONE, node);
}

}  // namespace arbtree

#endif
