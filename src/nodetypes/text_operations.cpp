// Reading, setting, hashing and comparing the value of a text-bearing node through its descriptor.
//
// Both hash and comparison look at 2 x textLength bytes. The buffer of an 8-bit value holds only half of them; the rest
// counts as zeros, as in its stream form.
#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "nodetypes/hash_fold.h"
#include "nodetypes/kind_operations.h"
#include "nodetypes/text_value.h"

namespace arbtree::text_operations {
namespace {

bool isValue(std::uint32_t index) { return index == 0; }

const std::uint8_t* bytesOf(const ArbNode& node) { return reinterpret_cast<const std::uint8_t*>(asText(node).text); }

bool allZero(const std::uint8_t* from, const std::uint8_t* to) {
  return std::all_of(from, to, [](std::uint8_t byte) { return byte == 0; });
}

}  // namespace

std::uintptr_t ARB_CALL getAttribute(ArbNode* node, std::uint32_t index) {
  return isValue(index) ? reinterpret_cast<std::uintptr_t>(asText(*node).text) : 0;
}

std::uint32_t ARB_CALL setAttribute(ArbNode* node, std::uint32_t index, std::uintptr_t value) {
  if (!isValue(index)) return ARB_OK;
  const auto* const text = reinterpret_cast<const char16_t*>(value);
  const std::size_t length = text ? std::char_traits<char16_t>::length(text) : 0;
  if (length > std::numeric_limits<std::uint32_t>::max()) return ARB_ERR_BADARG;
  return ArbAbstractTextNodeSetValue(node, text, static_cast<std::uint32_t>(length));
}

std::uint32_t ARB_CALL hasAttribute(ArbNode* node, std::uint32_t index) {
  return isValue(index) && asText(*node).text ? 1 : 0;
}

std::uint32_t ARB_CALL hash(ArbNode* node) {
  const std::uint32_t length = asText(*node).textLength;
  const std::size_t hashed = hashedTextBytes(length);
  const std::size_t held = std::min(hashed, valueBytes(*node));
  // The word in which the held bytes end is folded as a word when the hashed range goes on behind it.
  const std::size_t wholeWords = held & ~std::size_t{3};
  std::uint32_t result = foldHash(length, bytesOf(*node), wholeWords);
  std::uint8_t lastWord[4] = {};
  const std::size_t rest = held - wholeWords;
  if (rest != 0) std::memcpy(lastWord, bytesOf(*node) + wholeWords, rest);
  return foldHash(result, lastWord, std::min<std::size_t>(hashed - wholeWords, sizeof lastWord));
}

std::uint32_t ARB_CALL isEqual(ArbNode* a, ArbNode* b) {
  if (asText(*a).textLength != asText(*b).textLength) return 0;
  if (asText(*a).textLength == 0) return 1;
  if (valueBytes(*a) > valueBytes(*b)) std::swap(a, b);
  const std::size_t common = valueBytes(*a);
  const std::uint8_t* const shorter = bytesOf(*a);
  const std::uint8_t* const longer = bytesOf(*b);
  return std::equal(shorter, shorter + common, longer) && allZero(longer + common, longer + valueBytes(*b)) ? 1 : 0;
}

}  // namespace arbtree::text_operations
