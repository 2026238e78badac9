// One pass over a tree while it is being produced, in document order, releasing every node as soon as it has been
// passed. Only the next node is ever waited for, and only while no link leads to it, so the nodes alive at any time are
// the open ones and what is left of the last chunk. No stack grows with the depth of the tree.
#ifndef ARBTREE_TOOL_WALK_H
#define ARBTREE_TOOL_WALK_H

#include "arbtree/arbtree.h"
#include "node_links.h"

namespace arbtree::tool {

// The visitor has
//   bool enter(const ArbNode&)   every node but the root, before its children; false ends the walk
//   void leave(const ArbNode&)   every node but the root, after its children
//   void released()              after each leave, when the node is gone
// The answer is ARB_OK, or the status of the wait that failed. A walk that has come to its end releases the tree; one
// that was ended early leaves it to the document's destruction, as releasing what is not produced yet would produce it
// all. The next sibling is taken before a node is released: a node that is still the last child of an open list would
// not be freed.
template <typename Visitor>
ArbStatus walkTree(ArbTree* tree, Visitor& visitor) {
  ArbNode* root = nullptr;
  if (const ArbStatus status = ArbTreeWaitRootNode(tree, &root); status != ARB_OK || !root) return status;
  ArbNode* node = root;
  for (;;) {
    ArbNode* next = linked(node->firstChildCell);
    if (!next && !isText(*node)) {
      if (const ArbStatus status = ArbNodeWaitFirstChild(node, &next)) return status;
    }
    while (!next) {
      if (node == root) {
        ArbNodeConsumerRelease(root);
        return ArbForestChildConsumerRelease(asChild(tree));
      }
      visitor.leave(*node);
      next = linked(node->nextSiblingCell);
      if (!next) {
        if (const ArbStatus status = ArbNodeWaitNextSibling(node, &next)) return status;
      }
      ArbNode* const parent = parentOf(*node);
      ArbNodeConsumerRelease(node);
      visitor.released();
      if (!next) node = parent;
    }
    node = next;
    if (!visitor.enter(*node)) return ARB_OK;
  }
}

}  // namespace arbtree::tool

#endif
