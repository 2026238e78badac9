// A node's attribute area: its record behind the head, up to the node's size. For a kind with ARB_TYPE_ATTR_FUNCTIONS
// only the kind's operations touch it; for any other kind it is plain bytes.
#ifndef ARBTREE_NODETYPES_ATTRIBUTE_AREA_H
#define ARBTREE_NODETYPES_ATTRIBUTE_AREA_H

#include <cstddef>

#include "tree/node.h"

namespace arbtree {

inline bool hasAttributeFunctions(const ArbNode& node) {
  return (node.nodeType->typeFlags & ARB_TYPE_ATTR_FUNCTIONS) != 0;
}

inline std::uint8_t* areaOf(ArbNode& node) { return reinterpret_cast<std::uint8_t*>(&node) + sizeof(ArbNode); }

inline std::size_t areaSize(const ArbNode& node) {
  return node.size > sizeof(ArbNode) ? node.size - sizeof(ArbNode) : 0;
}

}  // namespace arbtree

#endif
