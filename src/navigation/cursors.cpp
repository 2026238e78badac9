// A tree's stack of saved positions. An entry is the pushed node's cell; pushes beyond the last entry store nothing but
// count, so that pushes and pops stay paired.
#include "tree/node.h"

using namespace arbtree;

ArbStatus ARB_CALL ArbTreePushCursor(ArbTree* tree, ArbNode* node) {
  if (!tree) return ARB_ERR_BADARG;
  const std::uint32_t entry = tree->cursorDepth++;
  if (isProducerOnly(documentOf(*tree))) return ARB_ERR_MODE;
  if (entry >= kMaxCursors) return ARB_ERR_CURSORSTACK;
  tree->cursorStack[entry] = cellOf(node);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbTreePopCursor(ArbTree* tree, ArbNode** node) {
  if (!tree) return ARB_ERR_BADARG;
  if (isProducerOnly(documentOf(*tree))) return ARB_ERR_MODE;
  if (tree->cursorDepth == 0) return ARB_ERR_CURSORSTACK;
  const std::uint32_t entry = --tree->cursorDepth;
  if (entry >= kMaxCursors) return ARB_OK;
  return ArbNodeRefWaitNode(tree->cursorStack[entry], &documentOf(*tree), node);
}
