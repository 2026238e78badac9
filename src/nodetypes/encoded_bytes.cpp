// The value of encoded-bytes nodes: bytes kept as UTF-16 units, as base64 text or as they are.
#include <algorithm>
#include <cstring>

#include "nodetypes/base64.h"
#include "nodetypes/text_value.h"
#include "platform/heap.h"

namespace arbtree {
namespace {

// Bytes handed in by the caller, or a swapped copy of them that goes at the end of the call.
class SourceBytes {
 public:
  explicit SourceBytes(const void* bytes) : bytes_(static_cast<const std::uint8_t*>(bytes)) {}
  ~SourceBytes() { heap::release(copy_); }
  SourceBytes(const SourceBytes&) = delete;
  SourceBytes& operator=(const SourceBytes&) = delete;

  // Swaps each pair of bytes; an odd last byte stays as it is. False when there is no memory.
  bool swapPairs(std::uint32_t count) {
    copy_ = static_cast<std::uint8_t*>(heap::allocate(count));
    if (!copy_) return false;
    std::memcpy(copy_, bytes_, count);
    for (std::uint32_t i = 0; i + 1 < count; i += 2) std::swap(copy_[i], copy_[i + 1]);
    bytes_ = copy_;
    return true;
  }

  const std::uint8_t* get() const { return bytes_; }

 private:
  const std::uint8_t* bytes_;
  std::uint8_t* copy_ = nullptr;
};

ArbEncodedBytesNode& asEncodedBytes(ArbNode& node) { return reinterpret_cast<ArbEncodedBytesNode&>(node); }

std::uint32_t complete(std::uint32_t flags) {
  if (!(flags & ARB_BYTES_SWAP_ORDER)) flags |= ARB_BYTES_KEEP_ORDER;
  if (!(flags & (ARB_BYTES_UNITS16 | ARB_BYTES_UNITS_OTHER))) flags |= ARB_BYTES_UNITS8;
  return flags;
}

bool isSwapped(std::uint32_t encoding, std::uint32_t flags) {
  constexpr std::uint32_t kSwapped = ARB_BYTES_SWAP_ORDER | ARB_BYTES_UNITS16;
  return encoding == ARB_ENCODING_BASE64 && (flags & kSwapped) == kSwapped;
}

// The bytes and two zeros behind them; null when there is no memory.
std::uint8_t* copyBytes(const std::uint8_t* bytes, std::uint32_t count) {
  if (count > SIZE_MAX - 2) return nullptr;
  auto* const buffer = static_cast<std::uint8_t*>(heap::allocate(std::size_t{count} + 2));
  if (!buffer) return nullptr;
  std::memcpy(buffer, bytes, count);
  buffer[count] = buffer[count + std::size_t{1}] = 0;
  return buffer;
}

ArbStatus storeUnits(ArbNode& node, const std::uint8_t* bytes, std::uint32_t count) {
  std::uint8_t* const buffer = copyBytes(bytes, count);
  if (!buffer) return ARB_ERR_NOMEMORY;
  if (count % 2 != 0) buffer[count - 1] = 0;  // half a unit is no part of the value, and its place is the terminator's
  adoptValue(node, buffer, count / 2);
  return ARB_OK;
}

ArbStatus storeRaw(ArbNode& node, const std::uint8_t* bytes, std::uint32_t count) {
  std::uint8_t* const buffer = copyBytes(bytes, count);
  if (!buffer) return ARB_ERR_NOMEMORY;
  adoptValue(node, buffer, count);
  return ARB_OK;
}

// A text whose length has more than 32 bits cannot be held.
bool fits(std::uint32_t count, std::uint32_t encoding) {
  return encoding != ARB_ENCODING_BASE64 ||
         (base64::encodedLength(count) <= UINT32_MAX && base64::capacityFor(count) + 1 <= SIZE_MAX / sizeof(char16_t));
}

ArbStatus storeBase64(ArbNode& node, const std::uint8_t* bytes, std::uint32_t count) {
  const std::uint64_t length = base64::encodedLength(count);
  const std::uint64_t capacity = base64::capacityFor(count) + 1;
  auto* const text = static_cast<char16_t*>(heap::allocate(static_cast<std::size_t>(capacity) * sizeof(char16_t)));
  if (!text) return ARB_ERR_NOMEMORY;
  base64::encode(bytes, count, text);
  adoptValue(node, text, static_cast<std::uint32_t>(length));
  return ARB_OK;
}

ArbStatus store(ArbNode& node, const std::uint8_t* bytes, std::uint32_t count, std::uint32_t encoding) {
  switch (encoding) {
    case ARB_ENCODING_UTF16:
      return storeUnits(node, bytes, count);
    case ARB_ENCODING_BASE64:
      return storeBase64(node, bytes, count);
    case ARB_ENCODING_RAW8:
      return storeRaw(node, bytes, count);
    default:
      return ARB_ERR_BADENCODING;
  }
}

// The old value goes at the end only: the bytes may be the node's own.
ArbStatus setValue(ArbNode& node, const void* bytes, std::uint32_t count, std::uint32_t info, std::uint32_t encoding,
                   std::uint32_t flags) {
  ArbEncodedBytesNode& encoded = asEncodedBytes(node);
  char16_t* const oldValue = encoded.text;
  takeMark(node, kHoldsUnits);
  encoded.text = nullptr;
  encoded.textLength = 0;
  encoded.info = info;
  encoded.encoding = encoding;
  encoded.encodingFlags = complete(flags);
  ArbStatus status = ARB_OK;
  if (count != 0) {
    SourceBytes source(bytes);
    const bool ready =
        fits(count, encoding) && (!isSwapped(encoding, encoded.encodingFlags) || source.swapPairs(count));
    status = ready ? store(node, source.get(), count, encoding) : ArbStatus{ARB_ERR_NOMEMORY};
  }
  heap::release(oldValue);
  return status;
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbEncodedBytesNodeGetValue(ArbNode* node, void*, void*, uint32_t* info, uint32_t* encoding) {
  if (!node) return ARB_ERR_BADARG;
  if (elementIdOf(*node) != ARB_ELEM_ENCODED_BYTES) return ARB_OK;
  if (info) *info = asEncodedBytes(*node).info;
  if (encoding) *encoding = asEncodedBytes(*node).encoding;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbEncodedBytesNodeSetValue(ArbNode* node, const void* bytes, uint32_t byteCount, uint32_t info,
                                               uint32_t encoding) {
  return ArbEncodedBytesNodeSetValueEx(node, bytes, byteCount, info, encoding, ARB_BYTES_KEEP_ORDER | ARB_BYTES_UNITS8);
}

ArbStatus ARB_CALL ArbEncodedBytesNodeSetValueEx(ArbNode* node, const void* bytes, uint32_t byteCount, uint32_t info,
                                                 uint32_t encoding, uint32_t flags) {
  if (!node) return ARB_ERR_BADARG;
  if (elementIdOf(*node) != ARB_ELEM_ENCODED_BYTES) return ARB_OK;
  if (!bytes && byteCount != 0) return ARB_ERR_BADARG;
  return setValue(*node, bytes, byteCount, info, encoding, flags);
}
