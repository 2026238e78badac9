// The value of the four text-bearing kinds: three text kinds and encoded bytes, whose records begin alike.
//
// Invariant: `text` is null when there is no value, else a heap block owned by the node that
// holds textLength units and a zero unit; for an 8-bit encoded-bytes value textLength bytes and a zero byte.
#ifndef ARBTREE_NODETYPES_TEXT_VALUE_H
#define ARBTREE_NODETYPES_TEXT_VALUE_H

#include <cstddef>

#include "tree/node.h"

namespace arbtree {

inline bool isTextBearing(std::uint32_t elementId) {
  return elementId == ARB_ELEM_TEXT || elementId == ARB_ELEM_TEXT_3 || elementId == ARB_ELEM_TEXT_4 ||
         elementId == ARB_ELEM_ENCODED_BYTES;
}

// The common beginning of the four kinds. REQUIRES: the node is of one of them.
inline ArbTextNode& asText(ArbNode& node) { return reinterpret_cast<ArbTextNode&>(node); }
inline const ArbTextNode& asText(const ArbNode& node) { return reinterpret_cast<const ArbTextNode&>(node); }

// Bytes of the value that its buffer really holds, without the terminator: 2 x textLength, or textLength for an 8-bit
// value.
std::size_t valueBytes(const ArbNode& node);

// Bytes that a buffer of `length` units and its terminator takes; 0 when that does not fit in a size_t.
std::size_t unitBufferBytes(std::uint32_t length);

// Frees the value; the node has none then.
void dropValue(ArbNode& node);

// Makes a heap block the node's value in place of the old one, which is freed.
void adoptValue(ArbNode& node, void* buffer, std::uint32_t length);

}  // namespace arbtree

#endif
