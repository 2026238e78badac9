// The operations of a kind's descriptor: what the library calls while it traverses, compares, hashes and clones nodes
// of our kinds.
#include <algorithm>
#include <functional>
#include <string>

#include "element_node.h"

namespace arbtree::tool {
namespace {

// The first entry with this index or a greater one.
AttributeEntry* place(const ElementNode& element, std::uint32_t index) {
  return std::lower_bound(element.entries, element.entries + element.attributeCount, index,
                          [](const AttributeEntry& entry, std::uint32_t wanted) { return entry.index < wanted; });
}

bool isPresentAt(const ElementNode& element, const AttributeEntry* entry, std::uint32_t index) {
  return entry != element.entries + element.attributeCount && entry->index == index;
}

std::uintptr_t ARB_CALL getAttribute(ArbNode* node, std::uint32_t index) {
  const ElementNode& element = asElement(*node);
  const AttributeEntry* const entry = place(element, index);
  return isPresentAt(element, entry, index) ? reinterpret_cast<std::uintptr_t>(element.values + entry->offset) : 0;
}

std::uint32_t ARB_CALL hasAttribute(ArbNode* node, std::uint32_t index) {
  const ElementNode& element = asElement(*node);
  return isPresentAt(element, place(element, index), index) ? 1 : 0;
}

// The new value goes behind the others; the units of one that it replaces stay unused. A node's own value may be passed
// in: it is found again when the array has moved.
std::uint32_t ARB_CALL setAttribute(ArbNode* node, std::uint32_t index, std::uintptr_t value) {
  ElementNode& element = asElement(*node);
  if (index >= node->nodeType->attributeCount || value == 0) return ARB_ERR_BADARG;
  const auto* source = reinterpret_cast<const char16_t*>(value);
  const std::size_t units = std::char_traits<char16_t>::length(source) + 1;
  const bool isOwn =
      std::less_equal<>()(element.values, source) && std::less<>()(source, element.values + element.unitCount);
  const std::ptrdiff_t ownOffset = isOwn ? source - element.values : 0;
  if (!reserveAttributes(element, std::size_t{element.attributeCount} + 1, element.unitCount + units)) {
    return ARB_ERR_NOMEMORY;
  }
  if (isOwn) source = element.values + ownOffset;
  const std::uint32_t offset = element.unitCount;
  std::copy_n(source, units, element.values + offset);
  element.unitCount += static_cast<std::uint32_t>(units);
  AttributeEntry* const entry = place(element, index);
  if (!isPresentAt(element, entry, index)) {
    std::copy_backward(entry, element.entries + element.attributeCount, element.entries + element.attributeCount + 1);
    ++element.attributeCount;
  }
  *entry = {index, offset, static_cast<std::uint32_t>(units - 1)};
  return ARB_OK;
}

// Does not depend on the order of the attributes in the document.
std::uint32_t ARB_CALL hashAttributes(ArbNode* node) {
  const ElementNode& element = asElement(*node);
  std::uint32_t hash = 0;
  for (const AttributeEntry& entry : element.attributes()) {
    std::uint32_t ofOne = 2166136261u ^ node->nodeType->attributes[entry.index].attributeId;
    for (const char16_t unit : element.value(entry)) ofOne = (ofOne ^ unit) * 16777619u;
    hash ^= ofOne;
  }
  return hash;
}

std::uint32_t ARB_CALL attributesAreEqual(ArbNode* a, ArbNode* b) {
  const ElementNode& left = asElement(*a);
  const ElementNode& right = asElement(*b);
  return std::equal(left.attributes().begin(), left.attributes().end(), right.attributes().begin(),
                    right.attributes().end(),
                    [&](const AttributeEntry& x, const AttributeEntry& y) {
                      return x.index == y.index && left.value(x) == right.value(y);
                    })
             ? 1
             : 0;
}

}  // namespace

ArbNodeType elementNodeType() {
  ArbNodeType type = {};
  type.typeFlags = ARB_TYPE_ATTR_FUNCTIONS;
  type.getAttribute = getAttribute;
  type.setAttribute = setAttribute;
  type.hasAttribute = hasAttribute;
  type.hash = hashAttributes;
  type.isEqual = attributesAreEqual;
  return type;
}

}  // namespace arbtree::tool
