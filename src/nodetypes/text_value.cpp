#include "nodetypes/text_value.h"

#include <cstring>

#include "platform/heap.h"

namespace arbtree {

namespace {

bool isRaw8(const ArbNode& node) {
  return elementIdOf(node) == ARB_ELEM_ENCODED_BYTES &&
         reinterpret_cast<const ArbEncodedBytesNode&>(node).encoding == ARB_ENCODING_RAW8;
}

}  // namespace

std::size_t valueBytes(const ArbNode& node) {
  if (!asText(node).text) return 0;
  const std::size_t length = asText(node).textLength;
  return isRaw8(node) && !hasMark(node, kHoldsUnits) ? length : 2 * length;
}

std::size_t unitBufferBytes(std::uint32_t length) {
  if (length > (SIZE_MAX - sizeof(char16_t)) / sizeof(char16_t)) return 0;
  return std::size_t{length} * sizeof(char16_t) + sizeof(char16_t);
}

void dropValue(ArbNode& node) { adoptValue(node, nullptr, 0); }

void adoptValue(ArbNode& node, void* buffer, std::uint32_t length) {
  ArbTextNode& textNode = asText(node);
  heap::release(textNode.text);
  textNode.text = static_cast<char16_t*>(buffer);
  textNode.textLength = length;
}

}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbAbstractTextNodeGetValue(ArbNode* node, const char16_t** text, uint32_t* length) {
  if (!node || !isTextBearing(elementIdOf(*node))) return ARB_ERR_BADARG;
  if (text) *text = asText(*node).text;
  if (length) *length = asText(*node).textLength;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbAbstractTextNodeSetValue(ArbNode* node, const char16_t* text, uint32_t length) {
  if (!node || !isTextBearing(elementIdOf(*node)) || (!text && length != 0)) return ARB_ERR_BADARG;
  if (length == 0) {
    dropValue(*node);
    return ARB_OK;
  }
  const std::size_t bytes = unitBufferBytes(length);
  auto* const buffer = bytes ? static_cast<char16_t*>(heap::allocate(bytes)) : nullptr;
  if (!buffer) {
    dropValue(*node);
    return ARB_ERR_NOMEMORY;
  }
  // Copied before the old buffer goes: the text may be the node's own.
  std::memcpy(buffer, text, bytes - sizeof(char16_t));
  buffer[length] = 0;
  adoptValue(*node, buffer, length);
  if (isRaw8(*node)) giveMark(*node, kHoldsUnits);
  return ARB_OK;
}
