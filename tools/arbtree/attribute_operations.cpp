// The operations of a kind's descriptor: what the library calls while it traverses, compares, hashes and clones nodes
// of our kinds.
#include <algorithm>
#include <new>
#include <string_view>

#include "element_node.h"

namespace arbtree::tool {
namespace {

bool isBefore(const AttributeEntry& entry, std::uint32_t index) { return entry.index < index; }

// Null where the node has no such attribute.
const AttributeEntry* find(const ElementNode& element, std::uint32_t index) {
  const auto entries = element.attributes();
  const auto place = std::lower_bound(entries.begin(), entries.end(), index, isBefore);
  return place != entries.end() && place->index == index ? &*place : nullptr;
}

std::uintptr_t ARB_CALL getAttribute(ArbNode* node, std::uint32_t index) {
  const ElementNode& element = asElement(*node);
  const AttributeEntry* const entry = find(element, index);
  return entry ? reinterpret_cast<std::uintptr_t>(element.value(*entry).data()) : 0;
}

std::uint32_t ARB_CALL hasAttribute(ArbNode* node, std::uint32_t index) {
  return find(asElement(*node), index) ? 1 : 0;
}

// The new value, which may be one of the node's own, goes behind the others. The units of one that it replaces stay
// unused, as those of the new one do where there is no memory for the entry.
void set(AttributeList& list, std::uint32_t index, std::u16string_view value) {
  const AttributeEntry entry = {index, static_cast<std::uint32_t>(list.values.size()),
                                static_cast<std::uint32_t>(value.size())};
  list.values.append(value.data(), value.size() + 1);
  const auto place = std::lower_bound(list.entries.begin(), list.entries.end(), index, isBefore);
  if (place != list.entries.end() && place->index == index) {
    *place = entry;
  } else {
    list.entries.insert(place, entry);
  }
}

std::uint32_t ARB_CALL setAttribute(ArbNode* node, std::uint32_t index, std::uintptr_t value) {
  if (index >= node->nodeType->attributeCount || value == 0) return ARB_ERR_BADARG;
  try {
    set(attributeList(asElement(*node)), index, reinterpret_cast<const char16_t*>(value));
    return ARB_OK;
  } catch (const std::bad_alloc&) {
    return ARB_ERR_NOMEMORY;
  }
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
