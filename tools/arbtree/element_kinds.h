// The node kinds of XML documents: one for each element name of this process, one for comments and one for processing
// instructions. A kind has an element id of its own, so navigation by element id and hooks tell names apart, and a list
// of the attribute names met on it. Names are as written, prefix included, in UTF-8.
//
// The producer finds or makes kinds as it meets names; the factory finds them again by element id.
//
// Ids are handed out in order and never taken back:
//
//   serial number         0 comment, 1 processing instruction, then the element names as they are met
//   element id            local id = the serial's low 14 bits, definer's bits = the next 6, namespace = the rest
//
// so a namespace holds 2^20 kinds; further namespaces are registered as the names grow, up to the 32 that a tree can
// hold, which is over 33 million different names.
//
// Invariants:
//  1. A kind's attribute list only grows, so an attribute's index holds for every node of the kind.
//  2. A published descriptor never changes: a list that has grown gets a new descriptor, and the nodes made before keep
//     theirs, which shows the list as it was. All of them live until the process ends.
#ifndef ARBTREE_TOOL_ELEMENT_KINDS_H
#define ARBTREE_TOOL_ELEMENT_KINDS_H

#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "arbtree/arbtree.h"

namespace arbtree::tool {

struct ElementKind;

struct AttributeName {
  std::string text;
  std::uint32_t attributeId;
};

// What a node's nodeType points at.
struct KindDescriptor {
  ArbNodeType type;
  const ElementKind* kind;
};

struct ElementKind {
  static constexpr std::size_t kUnpublished = SIZE_MAX;

  std::string name;
  std::uint32_t elementId;
  std::vector<const AttributeName*> attributes;
  std::unique_ptr<ArbAttributeDef[]> definitions;  // one for each of `attributes`, with room for more
  std::size_t definitionCapacity;
  std::size_t publishedAttributes;  // that the newest descriptor shows; kUnpublished while there is none
  ElementKind* followers[2] = {};   // that last came after an element of this kind, the newer one first
};

class ElementKinds {
 public:
  static constexpr std::uint32_t kFirstNamespace = 64;
  static constexpr std::uint32_t kMaxNamespaces = 32;

  // Attribute indices of the kinds that are no elements.
  static constexpr std::uint32_t kCommentText = 0;
  static constexpr std::uint32_t kInstructionTarget = 0;
  static constexpr std::uint32_t kInstructionData = 1;

  // The kinds of the process.
  static ElementKinds& instance() {
    static ElementKinds kinds;
    return kinds;
  }

  ElementKind& comment() { return kinds_[0]; }
  ElementKind& instruction() { return kinds_[1]; }
  // The kind of an element name, made if it is new. Elements mostly come in the order in which they came before, so the
  // ones that came after `before` are looked at first. Throws std::length_error when there is no id left.
  ElementKind& element(const char* name, ElementKind& before) {
    for (ElementKind* const follower : before.followers) {
      if (follower && std::strcmp(follower->name.c_str(), name) == 0) return *follower;
    }
    ElementKind& found = element(name);
    before.followers[1] = std::exchange(before.followers[0], &found);
    return found;
  }
  ElementKind& element(std::string_view name);
  std::uint64_t elementNameCount() const { return kinds_.size() - kFixedKinds; }
  // Of elements, and of the attributes of each.
  std::uint64_t nameCount() const { return elementNameCount() + indices_.size() - kFixedAttributes; }
  // How many namespaces, from kFirstNamespace on, all kinds of the process take.
  std::uint32_t namespaceCount() const { return namespacesFor(kinds_.back()); }

  // The index of an attribute name in a kind, added if it is new there. Attributes mostly come in the order in which
  // they came before, so `expected`, the index after that of the attribute before, is looked at first.
  std::uint32_t attributeIndex(ElementKind& kind, const char* name, std::uint32_t expected) {
    if (expected < kind.attributes.size() && kind.attributes[expected]->text == name) return expected;
    return findAttribute(kind, name);
  }
  // To be called before nodes are made of a kind that is new or whose attributes may have grown.
  void publish(ElementKind& kind) {
    if (!isPublished(kind)) makeDescriptor(kind);
  }
  static bool isPublished(const ElementKind& kind) { return kind.publishedAttributes == kind.attributes.size(); }

  // The newest descriptor of the kind with this id; null for an id of no published kind.
  const ArbNodeType* findType(std::uint32_t elementId) const {
    const std::uint32_t serial = serialOf(elementId);
    return serial < types_.size() ? types_[serial] : nullptr;
  }
  // How many namespaces, from kFirstNamespace on, a tree needs for all kinds up to this one.
  static std::uint32_t namespacesFor(const ElementKind& kind) {
    return ARB_ELEMENT_NAMESPACE(kind.elementId) - kFirstNamespace + 1;
  }

 private:
  static constexpr std::uint32_t kFixedKinds = 2;
  static constexpr std::uint32_t kFixedAttributes = 3;
  static constexpr std::uint32_t kKindsPerNamespace = 1u << 20;

  ElementKinds();

  static std::uint32_t elementIdOf(std::uint32_t serial);
  static std::uint32_t serialOf(std::uint32_t elementId) {
    return (ARB_ELEMENT_NAMESPACE(elementId) - kFirstNamespace) << 20 | elementId >> 26 << 14 | (elementId & 0x3FFF);
  }

  ElementKind& add(std::string_view name);
  std::uint32_t findAttribute(ElementKind& kind, const char* name);
  const AttributeName& attributeName(std::string_view name);
  void makeRoom(ElementKind& kind);
  void makeDescriptor(ElementKind& kind);

  std::deque<ElementKind> kinds_;          // by serial number; the addresses stay
  std::vector<const ArbNodeType*> types_;  // by serial number, the newest of each kind
  std::unordered_map<std::string_view, ElementKind*> kindsByName_;
  std::deque<AttributeName> attributeNames_;
  std::unordered_map<std::string_view, const AttributeName*> attributeNamesByText_;
  std::unordered_map<std::uint64_t, std::uint32_t> indices_;  // by element id (high half) and attribute id
  std::deque<KindDescriptor> descriptors_;
  std::vector<std::unique_ptr<ArbAttributeDef[]>> outgrownDefinitions_;  // earlier descriptors point into them
};

enum class NodeSort { element, text, comment, instruction };

// REQUIRES: not the root node.
inline NodeSort sortOf(const ArbNode& node) {
  const std::uint32_t elementId = node.nodeType->elementId;
  if (elementId == ARB_ELEM_TEXT) return NodeSort::text;
  if (elementId == ElementKinds::kFirstNamespace << 14) [[unlikely]]
    return NodeSort::comment;
  if (elementId == (ElementKinds::kFirstNamespace << 14 | 1)) [[unlikely]]
    return NodeSort::instruction;
  return NodeSort::element;
}

// REQUIRES: a node of one of our kinds.
inline const ElementKind& kindOf(const ArbNode& node) {
  return *reinterpret_cast<const KindDescriptor*>(node.nodeType)->kind;
}

}  // namespace arbtree::tool

#endif
