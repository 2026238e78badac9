// A hash of a whole subtree, by which many different ones can be told apart.
//
// The library's own hash folds words by exclusive-or: it knows no order, equal parts cancel out, and of plain text only
// a few bits differ, so a table by it alone would become a list of thousands.
#ifndef ARBTREE_TOOL_SUBTREE_HASH_H
#define ARBTREE_TOOL_SUBTREE_HASH_H

#include <cstdint>

#include "arbtree/arbtree.h"

namespace arbtree::tool {

// Equal subtrees (ArbNodeIsEqual) hash alike. REQUIRES: the subtree is complete and nothing of it has been freed.
std::uint64_t subtreeHash(ArbNode* node);

}  // namespace arbtree::tool

#endif
