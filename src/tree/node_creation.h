// Making nodes through the tree's factories, and binding them to their cells.
#ifndef ARBTREE_TREE_NODE_CREATION_H
#define ARBTREE_TREE_NODE_CREATION_H

#include "tree/tree.h"

namespace arbtree {

// As ArbTreeCreateNode, and gives the node itself as well: a callback may have written to the caller's variable.
ArbStatus createNode(ArbTree& tree, std::uint32_t elementId, ArbNodeRef* reference, ArbNode** out, ArbNode*& made);

// Makes the node that becomes the tree's root. It is kept as such from the first, when callbacks are told of it.
ArbStatus createRootNode(ArbTree& tree, ArbNode*& root);

}  // namespace arbtree

#endif
