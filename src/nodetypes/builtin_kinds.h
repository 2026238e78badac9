// The six built-in kinds of namespace 2, their descriptors, and the factory that every tree has for them.
//
//   kind                  element id    record                     operations
//   root                  0x20008001    the head alone             none
//   text, text 3, text 4  0x..00800[234] ArbTextNode               text operations
//   encoded bytes         0x08008005    ArbEncodedBytesNode        text operations
//   external reference    0x10008006    ArbExternalReferenceNode   its own hash, isEqual, write and read
#ifndef ARBTREE_NODETYPES_BUILTIN_KINDS_H
#define ARBTREE_NODETYPES_BUILTIN_KINDS_H

#include "nodetypes/text_value.h"

namespace arbtree {

// The descriptor is the first, so that a node leads to its kind.
struct BuiltinKind {
  ArbNodeType type;
  std::uint16_t size;  // of the record
  std::uint8_t cache;  // which of the tree's caches keeps such records
  bool bearsText;
};

// In the order of the numbers in their element ids, from 1.
inline constexpr std::uint32_t kBuiltinKindCount = 6;
extern const BuiltinKind kBuiltinKinds[kBuiltinKindCount];

// Where plain text is among the kinds, and the cache of its records.
inline constexpr std::uint32_t kTextKind = 1;
inline constexpr std::uint8_t kTextCache = 1;

inline const BuiltinKind* findBuiltinKind(std::uint32_t elementId) {
  const std::uint32_t index = (elementId & 0x3FFF) - 1;
  if (index >= kBuiltinKindCount || kBuiltinKinds[index].type.elementId != elementId) return nullptr;
  return &kBuiltinKinds[index];
}

inline bool isBuiltin(const ArbNodeType* type) {
  return reinterpret_cast<std::uintptr_t>(type) - reinterpret_cast<std::uintptr_t>(kBuiltinKinds) <
         sizeof kBuiltinKinds;
}

// A node of namespace 2 without a cell; null for an unknown element id or without memory. An external reference is made
// only after the document's first run.
inline ArbNode* makeBuiltinNode(ArbTree& tree, std::uint32_t elementId) {
  const BuiltinKind* const kind = findBuiltinKind(elementId);
  if (!kind) return nullptr;
  if (elementId == ARB_ELEM_EXTERNAL_REFERENCE && documentOf(tree).runCount == 0) return nullptr;
  auto* const created = static_cast<ArbNode*>(tree.recordCaches[kind->cache].take(kind->size));
  if (!created) return nullptr;
  created->size = kind->size;
  created->nodeType = &kind->type;
  if (elementId == ARB_ELEM_ROOT) created->flags = ARB_NODE_LINKED | ARB_NODE_IN_TREE;
  return created;
}

// Destroys a node of the tree and keeps its record for the tree's next node of that size. False, and nothing is done,
// when the node does not have a built-in descriptor.
inline bool recycleBuiltinNode(ArbTree& tree, ArbNode& node) {
  if (!isBuiltin(node.nodeType)) return false;
  const auto& kind = *reinterpret_cast<const BuiltinKind*>(node.nodeType);
  if (kind.bearsText && asText(node).text) dropValue(node);
  tree.recordCaches[kind.cache].giveBack(&node, kind.size);
  return true;
}

// The factory and the destroyer of namespace 2, as the tree hands them out.
std::uint32_t ARB_CALL createBuiltinNode(ArbTree* tree, std::uint32_t elementId, ArbNode** node);
std::uint32_t ARB_CALL destroyBuiltinNode(ArbNode* node);

// Frees the records that the tree kept for reuse.
void destroyBuiltinRecords(ArbTree& tree);

}  // namespace arbtree

#endif
