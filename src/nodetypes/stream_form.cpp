// The stream form of the built-in kinds. Every transfer's result is mapped to a status; the first failure ends the
// operation. The count of bytes really transferred is not looked at.
#include <algorithm>
#include <limits>

#include "nodetypes/kind_operations.h"
#include "nodetypes/text_value.h"
#include "platform/closed_libraries.h"
#include "platform/heap.h"

namespace arbtree::stream_form {
namespace {

ArbStatus transfer(BaseStreamTransfer operation, BaseStream* stream, void* buffer, std::size_t bytes) {
  // A byte count has 32 bits; a longer value takes several transfers.
  constexpr std::size_t kLargest = 0x40000000;
  auto* at = static_cast<std::uint8_t*>(buffer);
  do {
    const auto count = static_cast<std::uint32_t>(std::min(bytes, kLargest));
    std::uint32_t transferred = 0;
    const ArbStatus status = BaseMapIoError(operation(stream, at, count, &transferred));
    if (status != ARB_OK) return status;
    at += count;
    bytes -= count;
  } while (bytes != 0);
  return ARB_OK;
}

ArbStatus write(BaseStream* stream, void* buffer, std::size_t bytes) {
  return transfer(stream->functions->write, stream, buffer, bytes);
}

ArbStatus read(BaseStream* stream, void* buffer, std::size_t bytes) {
  return transfer(stream->functions->read, stream, buffer, bytes);
}

ArbStatus writeZeros(BaseStream* stream, std::size_t bytes) {
  std::uint8_t zeros[256] = {};
  while (bytes != 0) {
    const std::size_t count = std::min(bytes, sizeof zeros);
    if (const ArbStatus status = write(stream, zeros, count)) return status;
    bytes -= count;
  }
  return ARB_OK;
}

ArbStatus writeValue(const ArbNode& node, BaseStream* stream) {
  const ArbTextNode& textNode = asText(node);
  if (textNode.textLength == 0) return ARB_OK;
  const std::size_t unitBytes = unitBufferBytes(textNode.textLength);
  const std::size_t held = valueBytes(node);
  // Units and their terminator go in one transfer, as they are read.
  if (held == unitBytes - sizeof(char16_t)) return write(stream, textNode.text, unitBytes);
  if (held != 0) {
    if (const ArbStatus status = write(stream, textNode.text, held)) return status;
  }
  return writeZeros(stream, unitBytes - held);  // what a unit buffer would hold behind an 8-bit value
}

ArbStatus readValue(ArbNode& node, BaseStream* stream) {
  ArbTextNode& textNode = asText(node);
  if (textNode.textLength == 0) return ARB_OK;
  const std::size_t bytes = unitBufferBytes(textNode.textLength);
  textNode.text = bytes ? static_cast<char16_t*>(heap::allocateZeroed(bytes)) : nullptr;
  if (!textNode.text) return ARB_ERR_NOMEMORY;
  return read(stream, textNode.text, bytes);
}

template <typename Record>
ArbStatus writeTextBearing(ArbNode* node, BaseStream* stream) {
  if (const ArbStatus status = write(stream, node, sizeof(Record))) return status;
  return writeValue(*node, stream);
}

// The value pointer read belongs to the node that was written, so it is never kept: the value gets a buffer of its own.
template <typename Record>
ArbStatus readTextBearing(ArbNode* node, BaseStream* stream) {
  ArbTextNode& textNode = asText(*node);
  char16_t* const before = textNode.text;
  const ArbStatus status = read(stream, node, sizeof(Record));
  if (status == ARB_OK || textNode.text != before) textNode.text = nullptr;
  return status == ARB_OK ? readValue(*node, stream) : status;
}

}  // namespace

std::uint32_t ARB_CALL writeText(ArbNode* node, BaseStream* stream) {
  return writeTextBearing<ArbTextNode>(node, stream);
}

std::uint32_t ARB_CALL readText(ArbNode* node, BaseStream* stream) {
  return readTextBearing<ArbTextNode>(node, stream);
}

std::uint32_t ARB_CALL writeEncodedBytes(ArbNode* node, BaseStream* stream) {
  return writeTextBearing<ArbEncodedBytesNode>(node, stream);
}

std::uint32_t ARB_CALL readEncodedBytes(ArbNode* node, BaseStream* stream) {
  return readTextBearing<ArbEncodedBytesNode>(node, stream);
}

std::uint32_t ARB_CALL writeExternalReference(ArbNode* node, BaseStream* stream) {
  return write(stream, node, sizeof(ArbExternalReferenceNode));
}

std::uint32_t ARB_CALL readExternalReference(ArbNode* node, BaseStream* stream) {
  return read(stream, node, sizeof(ArbExternalReferenceNode));
}

}  // namespace arbtree::stream_form
