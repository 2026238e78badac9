// Reading nodes: what a cell resolves to, and the questions that every subsystem asks about a node.
#ifndef ARBTREE_TREE_NODE_H
#define ARBTREE_TREE_NODE_H

#include "tree/tree.h"

namespace arbtree {

// The node at the end of a link or reference, or null: a cell is resolved when its state is ARB_REF_NODE.
inline ArbNode* resolve(const ArbNodeRef* cell) {
  if (!cell) return nullptr;
  if (cell->state != ARB_REF_NODE) [[unlikely]]
    return nullptr;
  return reinterpret_cast<ArbNode*>(cell->value);
}

inline ArbNode* parentOf(const ArbNode& node) { return resolve(node.parentCell); }
inline ArbNode* firstChildOf(const ArbNode& node) { return resolve(node.firstChildCell); }
inline ArbNode* lastChildOf(const ArbNode& node) { return resolve(node.lastChildCell); }
inline ArbNode* nextSiblingOf(const ArbNode& node) { return resolve(node.nextSiblingCell); }
inline ArbNode* prevSiblingOf(const ArbNode& node) { return resolve(node.prevSiblingCell); }

inline ArbNodeRef* cellOf(const ArbNode* node) { return node ? node->cell : nullptr; }
inline ArbDocument& documentOf(const ArbNode& node) { return documentOf(*node.tree); }
inline std::uint32_t elementIdOf(const ArbNode& node) { return node.nodeType->elementId; }

inline bool has(const ArbNode& node, std::uint32_t flags) { return (node.flags & flags) == flags; }
inline void give(ArbNode& node, std::uint32_t flags) { node.flags = static_cast<std::uint8_t>(node.flags | flags); }
inline void take(ArbNode& node, std::uint32_t flags) { node.flags = static_cast<std::uint8_t>(node.flags & ~flags); }

// In flags2, beyond the public marks.
inline constexpr std::uint8_t kIsRoot = 0x10;      // the tree's own, which no release frees
inline constexpr std::uint8_t kOnKeptCell = 0x20;  // made on the cell of a freed node for which the cell had been kept;
                                                   // names may be bound to it, so it never goes back to the pool
inline constexpr std::uint8_t kHoldsUnits = 0x40;  // a value set as units although the encoding says that it is 8-bit
inline constexpr std::uint8_t kLastVisited = 0x80;  // the last child that a walk visits (consumer_subtree_release.cpp)
static_assert(((ARB_NODE_SEPARATE_STREAM | ARB_NODE_SKIP_IF_EMPTY | ARB_NODE_FREEING) &
               (kIsRoot | kOnKeptCell | kHoldsUnits | kLastVisited)) == 0);

inline bool hasMark(const ArbNode& node, std::uint8_t marks) { return (node.flags2 & marks) != 0; }  // any of them
inline void giveMark(ArbNode& node, std::uint8_t marks) {
  node.flags2 = static_cast<std::uint8_t>(node.flags2 | marks);
}
inline void takeMark(ArbNode& node, std::uint8_t marks) {
  node.flags2 = static_cast<std::uint8_t>(node.flags2 & ~marks);
}

// The node after `node` in document order within the subtree of `start` once `node`'s children are done or passed over;
// null when the subtree is done.
inline ArbNode* followingInSubtree(ArbNode* node, const ArbNode& start) {
  while (node && node != &start) {
    if (ArbNode* const next = nextSiblingOf(*node)) return next;
    node = parentOf(*node);
  }
  return nullptr;
}

// Finds a node again that callbacks or a run may have freed. Its cell and its record may by then be a later node's, but
// no two nodes of a document have the same number.
class NodeWatch {
 public:
  NodeWatch() = default;  // watches nothing
  explicit NodeWatch(const ArbNode& node) : cell_(node.cell), number_(node.number) {}
  // Null when the node is gone.
  ArbNode* get() const {
    ArbNode* const node = resolve(cell_);
    return node && node->number == number_ ? node : nullptr;
  }
  bool isAlive() const { return get() != nullptr; }

 private:
  const ArbNodeRef* cell_ = nullptr;
  std::uint32_t number_ = 0;
};

inline bool hasLiveChildren(const ArbNode& node) { return node.freedChildCount < node.childCount; }

}  // namespace arbtree

#endif
