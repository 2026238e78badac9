// Steps between records that need no call.
#ifndef ARBTREE_TOOL_NODE_LINKS_H
#define ARBTREE_TOOL_NODE_LINKS_H

#include "arbtree/arbtree.h"

namespace arbtree::tool {

// A tree begins with the header of every child document.
inline ArbForestChild* asChild(ArbTree* tree) { return reinterpret_cast<ArbForestChild*>(tree); }
inline ArbTree* asTree(ArbForestChild* child) { return reinterpret_cast<ArbTree*>(child); }
inline ArbForest* asForest(ArbForestChild* child) { return reinterpret_cast<ArbForest*>(child); }
inline ArbFile* asFile(ArbForestChild* child) { return reinterpret_cast<ArbFile*>(child); }

// The node that a link between nodes leads to; null where there is none, or none yet.
inline ArbNode* linked(const ArbNodeRef* link) { return link ? reinterpret_cast<ArbNode*>(link->value) : nullptr; }

// REQUIRES: the node is in a child list.
inline ArbNode* parentOf(const ArbNode& node) { return reinterpret_cast<ArbNode*>(node.parentCell->value); }

inline bool isText(const ArbNode& node) { return node.nodeType->elementId == ARB_ELEM_TEXT; }

}  // namespace arbtree::tool

#endif
