// The operations that the descriptors of the built-in kinds hold.
#ifndef ARBTREE_NODETYPES_KIND_OPERATIONS_H
#define ARBTREE_NODETYPES_KIND_OPERATIONS_H

#include <cstdint>

#include "arbtree/arbtree.h"

namespace arbtree {

// Text kinds and encoded bytes (text_operations.cpp). Attribute 0 is the value.
namespace text_operations {
std::uintptr_t ARB_CALL getAttribute(ArbNode* node, std::uint32_t index);
std::uint32_t ARB_CALL setAttribute(ArbNode* node, std::uint32_t index, std::uintptr_t value);
std::uint32_t ARB_CALL hasAttribute(ArbNode* node, std::uint32_t index);
std::uint32_t ARB_CALL hash(ArbNode* node);
std::uint32_t ARB_CALL isEqual(ArbNode* a, ArbNode* b);
}  // namespace text_operations

// External references (external_reference_operations.cpp).
namespace external_reference_operations {
std::uint32_t ARB_CALL hash(ArbNode* node);
std::uint32_t ARB_CALL isEqual(ArbNode* a, ArbNode* b);
}  // namespace external_reference_operations

// The stream form (stream_form.cpp): the record as it is in memory, then the value's units and their zero. It is a
// spill copy, pointers included, that only the process that wrote it can read back, into any record of the same kind.
namespace stream_form {
std::uint32_t ARB_CALL writeText(ArbNode* node, struct BaseStream* stream);
std::uint32_t ARB_CALL readText(ArbNode* node, struct BaseStream* stream);
std::uint32_t ARB_CALL writeEncodedBytes(ArbNode* node, struct BaseStream* stream);
std::uint32_t ARB_CALL readEncodedBytes(ArbNode* node, struct BaseStream* stream);
std::uint32_t ARB_CALL writeExternalReference(ArbNode* node, struct BaseStream* stream);
std::uint32_t ARB_CALL readExternalReference(ArbNode* node, struct BaseStream* stream);
}  // namespace stream_form

}  // namespace arbtree

#endif
