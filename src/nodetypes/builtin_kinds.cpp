#include "nodetypes/builtin_kinds.h"

#include "nodetypes/kind_operations.h"

namespace arbtree {
namespace {

// Kind flags that the library carries for readers of the descriptors and does not interpret.
constexpr std::uint32_t kRootFlags = 0x11;
constexpr std::uint32_t kValueFlags = 0x22;
static_assert((kValueFlags & ARB_TYPE_ATTR_FUNCTIONS) != 0);

constexpr ArbAttributeDef kValueAttribute = {ARB_ATTR_VALUE, 0};

using StreamOperation = decltype(ArbNodeType::write);

constexpr ArbNodeType textBearingType(std::uint32_t elementId, StreamOperation write, StreamOperation read) {
  ArbNodeType type = {};
  type.elementId = elementId;
  type.typeFlags = kValueFlags;
  type.attributeCount = 1;
  type.attributes = &kValueAttribute;
  type.getAttribute = text_operations::getAttribute;
  type.setAttribute = text_operations::setAttribute;
  type.hasAttribute = text_operations::hasAttribute;
  type.hash = text_operations::hash;
  type.isEqual = text_operations::isEqual;
  type.write = write;
  type.read = read;
  return type;
}

constexpr ArbNodeType textType(std::uint32_t elementId) {
  return textBearingType(elementId, stream_form::writeText, stream_form::readText);
}

constexpr ArbNodeType encodedBytesType() {
  return textBearingType(ARB_ELEM_ENCODED_BYTES, stream_form::writeEncodedBytes, stream_form::readEncodedBytes);
}

constexpr ArbNodeType externalReferenceType() {
  ArbNodeType type = {};
  type.elementId = ARB_ELEM_EXTERNAL_REFERENCE;
  type.typeFlags = kValueFlags;
  type.hash = external_reference_operations::hash;
  type.isEqual = external_reference_operations::isEqual;
  type.write = stream_form::writeExternalReference;
  type.read = stream_form::readExternalReference;
  return type;
}

constexpr ArbNodeType rootType() {
  ArbNodeType type = {};
  type.elementId = ARB_ELEM_ROOT;
  type.typeFlags = kRootFlags;
  return type;
}

}  // namespace

constinit const BuiltinKind kBuiltinKinds[kBuiltinKindCount] = {
    {rootType(), sizeof(ArbNode), 0, false},
    {textType(ARB_ELEM_TEXT), sizeof(ArbTextNode), kTextCache, true},
    {textType(ARB_ELEM_TEXT_3), sizeof(ArbTextNode), kTextCache, true},
    {textType(ARB_ELEM_TEXT_4), sizeof(ArbTextNode), kTextCache, true},
    {encodedBytesType(), sizeof(ArbEncodedBytesNode), 2, true},
    {externalReferenceType(), sizeof(ArbExternalReferenceNode), 3, false},
};

std::uint32_t ARB_CALL createBuiltinNode(ArbTree* tree, std::uint32_t elementId, ArbNode** node) {
  if (ArbNode* const created = makeBuiltinNode(*tree, elementId)) *node = created;
  return ARB_OK;
}

// Hosts may call it for records that belong to no tree, or whose tree is gone.
std::uint32_t ARB_CALL destroyBuiltinNode(ArbNode* node) {
  if (isTextBearing(elementIdOf(*node))) dropValue(*node);
  heap::release(node, node->size);
  return ARB_OK;
}

void destroyBuiltinRecords(ArbTree& tree) {
  for (const BuiltinKind& kind : kBuiltinKinds) tree.recordCaches[kind.cache].destroy(kind.size);
}

}  // namespace arbtree
