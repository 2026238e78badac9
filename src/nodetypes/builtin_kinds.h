// The six built-in kinds of namespace 2, their descriptors, and the factory that every tree has for them.
//
//   kind                  element id    record                     operations
//   root                  0x20008001    the head alone             none
//   text, text 3, text 4  0x..00800[234] ArbTextNode               text operations
//   encoded bytes         0x08008005    ArbEncodedBytesNode        text operations
//   external reference    0x10008006    ArbExternalReferenceNode   its own hash, isEqual, write and read
#ifndef ARBTREE_NODETYPES_BUILTIN_KINDS_H
#define ARBTREE_NODETYPES_BUILTIN_KINDS_H

#include "tree/tree.h"

namespace arbtree {

// The factory and the destroyer of namespace 2. An external reference is made only after the document's first run.
std::uint32_t ARB_CALL createBuiltinNode(ArbTree* tree, std::uint32_t elementId, ArbNode** node);
std::uint32_t ARB_CALL destroyBuiltinNode(ArbNode* node);

// Destroys a node of the tree and keeps its record for the tree's next node of that size.
void recycleBuiltinNode(ArbTree& tree, ArbNode& node);

// Frees the records that the tree kept for reuse.
void destroyBuiltinRecords(ArbTree& tree);

}  // namespace arbtree

#endif
