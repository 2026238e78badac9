// The table of a tree's references that are not bound to a node yet.
//
// The slot of a reference is the lowest free one, or the next behind all used ones. Invariants: slots at or above
// pendingRefCount are unused; a slot below it is either null and in freePendingSlots, or holds a cell whose block
// knows the slot, so that neither entering nor removing searches the table.
#ifndef ARBTREE_TREE_PENDING_REFS_H
#define ARBTREE_TREE_PENDING_REFS_H

#include "tree/cell_pool.h"

namespace arbtree {

// Enters a cell of the tree. False when there is no memory: the table is then as it was.
bool addPendingRef(ArbTree& tree, ArbNodeRef* cell);

// Frees the slot of a cell, which lies in `block`; one that is not in the table is ignored, as is a null block.
void removePendingRef(ArbTree& tree, CellBlock* block, ArbNodeRef* cell);

// Has the processor fetch what removing the reference will touch, while the node for it is being made. The answer is
// the cell's block, or null.
CellBlock* fetchPendingRef(const ArbTree& tree, const ArbNodeRef* cell);

// Gives the cells of all references that never received a node back to the pool, and frees the table.
void destroyPendingRefs(ArbTree& tree);

}  // namespace arbtree

#endif
