// The attach notification: what happens when a node becomes connected to the tree's root.
#ifndef ARBTREE_TREE_ATTACH_H
#define ARBTREE_TREE_ATTACH_H

#include "arbtree/arbtree.h"

namespace arbtree {

// Marks the node and its subtree as in the tree, a node before its children; counts each node's bytes against the chunk
// and raises ARB_EVENT_NODE_IN_TREE for it. A node that is in the tree already is passed over with its subtree.
void notifyAttached(ArbNode& node);

}  // namespace arbtree

#endif
