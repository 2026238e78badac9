// The tree record: nodes, their cells, and the tables that belong to them. A tree is a child document, so it begins
// with that header.
#ifndef ARBTREE_TREE_TREE_H
#define ARBTREE_TREE_TREE_H

#include "document/document.h"
#include "platform/record_cache.h"
#include "tree/lowest_set.h"

namespace arbtree {

// One registered namespace; a null create function marks a free entry.
struct FactoryEntry {
  std::uint16_t elementNamespace;
  ArbNodeFactory create;
  ArbNodeDestroyer destroy;
};

struct ProducerNodeHook {
  std::uint32_t event;
  std::uint32_t elementId;
  ArbProducerNodeHookFunction function;
  void* context;
};

inline constexpr std::uint32_t kMaxFactories = 32;
inline constexpr std::uint32_t kMaxCursors = 128;

}  // namespace arbtree

struct ArbTree {
  ArbForestChild child;
  ArbNodeRef* rootCell;
  arbtree::FactoryEntry factories[arbtree::kMaxFactories];  // the first free entry ends the table
  std::uint32_t factoryCount;
  arbtree::FactoryEntry lastFactory;  // what a lookup found last; free until then
  arbtree::FactoryEntry builtinFactory;
  std::uint16_t defaultNamespace;
  arbtree::CellBlock** cellBlocks;  // in order of allocation
  std::uint32_t cellBlockCapacity;
  std::uint32_t cellBlockCount;
  ArbNodeRef** pendingRefs;  // references not bound to a node yet; null: a free slot
  std::uint32_t pendingRefCapacity;
  std::uint32_t pendingRefCount;
  ArbNodeRef** externalRefCells;  // cells of all external-reference nodes ever made here, in order
  std::uint32_t externalRefCapacity;
  std::uint32_t externalRefCount;
  ArbNodeRef** separateStreamCells;  // cells of the nodes marked for a stream of their own, in the order marked
  std::uint32_t separateStreamCapacity;
  std::uint32_t separateStreamCount;
  arbtree::ProducerNodeHook* hooks;  // sorted by element id, equal ids in order of registration
  std::uint32_t hookCapacity;
  std::uint32_t hookCount;
  ArbNodeRef* cursorStack[arbtree::kMaxCursors];
  std::uint32_t cursorDepth;  // pushes not popped yet, also those that found the stack full

  // For speed: where the cell pool finds room and the block of a cell (tree/cell_pool.cpp) ...
  arbtree::LowestSet blocksWithRoom;  // indices of the blocks that have a free cell
  arbtree::CellBlock* blockWithRoom;  // the first of them, or null when there is none
  arbtree::BlockRange* blockRanges;   // hash table of the address ranges in which cells lie
  std::uint32_t blockRangeCapacity;   // a power of two, or 0
  // ... the strings that were bound to cells of this tree, so that none points here when the tree is gone ...
  ArbString** boundStrings;
  std::uint32_t boundStringCapacity;
  std::uint32_t boundStringCount;
  // ... which slots of pendingRefs below pendingRefCount are free (tree/pending_refs.cpp) ...
  arbtree::LowestSet freePendingSlots;
  // ... and released records of the built-in kinds, in the order of nodetypes/builtin_kinds.h.
  arbtree::RecordCache recordCaches[4];
};

namespace arbtree {

inline ArbForestChild* asChild(ArbTree* tree) { return &tree->child; }
inline ArbTree* asTree(ArbForestChild* child) { return reinterpret_cast<ArbTree*>(child); }
inline ArbDocument& documentOf(const ArbTree& tree) { return *tree.child.document; }
inline bool isProducerDone(const ArbTree& tree) { return (tree.child.flags & ARB_CHILD_PRODUCER_DONE) != 0; }

}  // namespace arbtree

#endif
