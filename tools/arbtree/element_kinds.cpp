// Finding and making kinds, their attribute lists and their descriptors.
#include "element_kinds.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "arbtree/elemdefs.h"
#include "element_node.h"

namespace arbtree::tool {
namespace {

// Attribute names have ids of their own, in namespaces that no element has. The highest is below 0xC00, so that the top
// byte of an id, which holds two bits of it, is never the 0x37 that cloning passes over.
constexpr std::uint32_t kFirstAttributeNamespace = 128;
constexpr std::uint32_t kMaxAttributeNamespaces = 0xC00 - kFirstAttributeNamespace;

std::uint32_t encodeId(std::uint32_t firstNamespace, std::uint64_t serial) {
  const auto number = static_cast<std::uint32_t>(serial);
  return (number >> 14 & 0x3F) << 26 | (firstNamespace + static_cast<std::uint32_t>(serial >> 20)) << 14 |
         (number & 0x3FFF);
}

}  // namespace

// No element and no attribute has a name that begins with "#".
ElementKinds::ElementKinds() {
  attributeIndex(add("#comment"), "#text", 0);
  ElementKind& target = add("#processing-instruction");
  attributeIndex(target, "#target", 0);
  attributeIndex(target, "#data", 1);
  publish(comment());
  publish(instruction());
}

ElementKind& ElementKinds::element(std::string_view name) {
  const auto found = kindsByName_.find(name);
  return found != kindsByName_.end() ? *found->second : add(name);
}

std::uint32_t ElementKinds::elementIdOf(std::uint32_t serial) { return encodeId(kFirstNamespace, serial); }

ElementKind& ElementKinds::add(std::string_view name) {
  const std::size_t serial = kinds_.size();
  if (serial == std::size_t{kMaxNamespaces} * kKindsPerNamespace) {
    throw std::length_error("too many different element names");
  }
  const std::uint32_t elementId = elementIdOf(static_cast<std::uint32_t>(serial));
  if (serial % kKindsPerNamespace == 0) {
    ElemDefsRegisterNamespace(ARB_ELEMENT_NAMESPACE(elementId), makeElementNode, destroyElementNode,
                              kKindsPerNamespace);
  }
  types_.resize(serial + 1);
  ElementKind& kind =
      kinds_.emplace_back(ElementKind{std::string(name), elementId, {}, nullptr, 0, ElementKind::kUnpublished, {}});
  kindsByName_.emplace(kind.name, &kind);
  return kind;
}

std::uint32_t ElementKinds::findAttribute(ElementKind& kind, const char* name) {
  const AttributeName& attribute = attributeName(name);
  const std::uint64_t key = std::uint64_t{kind.elementId} << 32 | attribute.attributeId;
  const auto found = indices_.find(key);
  if (found != indices_.end()) return found->second;
  const auto added = static_cast<std::uint32_t>(kind.attributes.size());
  makeRoom(kind);
  indices_.emplace(key, added);
  kind.definitions[added] = {attribute.attributeId, 0};
  kind.attributes.push_back(&attribute);
  return added;
}

const AttributeName& ElementKinds::attributeName(std::string_view name) {
  const auto found = attributeNamesByText_.find(name);
  if (found != attributeNamesByText_.end()) return *found->second;
  const std::size_t serial = attributeNames_.size();
  if (serial >> 20 >= kMaxAttributeNamespaces) throw std::length_error("too many different attribute names");
  const AttributeName& added =
      attributeNames_.emplace_back(AttributeName{std::string(name), encodeId(kFirstAttributeNamespace, serial)});
  attributeNamesByText_.emplace(added.text, &added);
  return added;
}

// For one more attribute. A failed allocation leaves the kind as it was.
void ElementKinds::makeRoom(ElementKind& kind) {
  const std::size_t count = kind.attributes.size();
  if (count < kind.definitionCapacity) return;
  const std::size_t capacity = std::max<std::size_t>(4, 2 * count);
  kind.attributes.reserve(capacity);
  auto grown = std::make_unique<ArbAttributeDef[]>(capacity);
  std::copy_n(kind.definitions.get(), count, grown.get());
  outgrownDefinitions_.push_back(std::move(grown));
  std::swap(outgrownDefinitions_.back(), kind.definitions);
  kind.definitionCapacity = capacity;
}

void ElementKinds::makeDescriptor(ElementKind& kind) {
  KindDescriptor& made = descriptors_.emplace_back(KindDescriptor{elementNodeType(), &kind});
  made.type.elementId = kind.elementId;
  made.type.attributeCount = static_cast<std::uint32_t>(kind.attributes.size());
  made.type.attributes = kind.definitions.get();
  types_[serialOf(kind.elementId)] = &made.type;
  kind.publishedAttributes = kind.attributes.size();
}

}  // namespace arbtree::tool
