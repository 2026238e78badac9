// Hashing and comparing. All elements of the name in a subtree are hashed in one walk. Once one of them is found equal
// to a kept one, so are their parts, pair by pair, and no more is compared.
#include "subtree_sets.h"

#include <new>
#include <string_view>

#include "node_links.h"

namespace arbtree::tool {
namespace {

constexpr std::uint32_t kProducerOnly = 1;

// The library's own hash folds words by exclusive-or: it knows no order, equal parts cancel out, and of plain text only
// a few bits differ, so a table by it would become a list of thousands. Equal nodes hash alike here too.
std::uint64_t contentHash(ArbNode* node) {
  if (!isText(*node)) return node->nodeType->hash(node);
  const auto& text = *reinterpret_cast<const ArbTextNode*>(node);
  return std::hash<std::u16string_view>()({text.text, text.textLength});
}

// A step of a multiplicative hash, whose high bits, which depend on all, are brought down.
std::uint64_t mix(std::uint64_t hash, std::uint64_t value) {
  hash = (hash ^ value) * 0x9E3779B97F4A7C15u;
  return hash ^ hash >> 32;
}

// One place in an element, in its copy and in the kept element that it equals; null where there is none.
struct Places {
  ArbNode* element;
  ArbNode* copy;
  ArbNode* equal;

  Places along(ArbNodeRef* ArbNode::*link) const {
    const auto step = [link](const ArbNode* node) { return node ? linked(node->*link) : nullptr; };
    return {step(element), step(copy), step(equal)};
  }
};

}  // namespace

SubtreeSets::SubtreeSets(const ElementKind& kind) : kind_(kind) {
  if (ArbDocumentCreate(0, &host_, u"", 0, kProducerOnly, &document_) != ARB_OK ||
      ArbDocumentCreateTree(document_, u"", &tree_) != ARB_OK ||
      ArbForestAppendChild(ArbDocumentRootForest(document_), asChild(tree_)) != ARB_OK) {
    throw std::bad_alloc();
  }
}

SubtreeSets::~SubtreeSets() {
  for (ArbNode* const copy : copies_) {
    if (copy) ArbNodeDestroy(copy);
  }
  ArbDocumentDestroy(document_);
}

void SubtreeSets::add(ArbNode* element, const Found& found) {
  const std::vector<std::uint64_t> hashes = hashesWithin(element);
  auto hash = hashes.begin();
  ArbNode* const equal = findEqual(*hash, element);
  Places at = {element, equal ? nullptr : keepCopy(element), equal};
  const ArbNode* equalFrom = element;  // the outermost that the kept element equals
  for (;;) {
    if (isCounted(*at.element)) {
      if (!at.equal) {
        at.equal = findEqual(*hash, at.element);
        equalFrom = at.element;
      }
      const std::size_t set = at.equal ? setsByCopy_.at(at.equal) : count_++;
      if (!at.equal) firsts_.emplace(*hash, at.copy);
      if (at.copy) setsByCopy_.emplace(at.copy, set);
      found(set, *at.element);
      ++hash;
    }
    Places next = at.along(&ArbNode::firstChildCell);
    while (!next.element) {
      if (at.element == equalFrom) at.equal = nullptr;
      if (at.element == element) return;
      next = at.along(&ArbNode::nextSiblingCell);
      if (!next.element) at = at.along(&ArbNode::parentCell);
    }
    at = next;
  }
}

// Of the elements of the name, in document order.
std::vector<std::uint64_t> SubtreeSets::hashesWithin(ArbNode* element) const {
  struct Open {
    std::uint64_t hash;
    std::size_t index;  // in the result, for an element of the name
  };
  std::vector<std::uint64_t> hashes;
  std::vector<Open> open;
  for (ArbNode* node = element;;) {
    open.push_back({mix(node->nodeType->elementId, contentHash(node)), hashes.size()});
    if (isCounted(*node)) hashes.push_back(0);
    ArbNode* next = linked(node->firstChildCell);
    while (!next) {
      const Open closed = open.back();
      open.pop_back();
      if (isCounted(*node)) hashes[closed.index] = closed.hash;
      if (open.empty()) return hashes;
      open.back().hash = mix(open.back().hash, closed.hash);
      next = linked(node->nextSiblingCell);
      if (!next) node = parentOf(*node);
    }
    node = next;
  }
}

ArbNode* SubtreeSets::findEqual(std::uint64_t hash, ArbNode* element) const {
  const auto [first, last] = firsts_.equal_range(hash);
  for (auto at = first; at != last; ++at) {
    if (ArbNodeIsEqual(element, at->second)) return at->second;
  }
  return nullptr;
}

ArbNode* SubtreeSets::keepCopy(ArbNode* element) {
  for (const ElementKinds& kinds = ElementKinds::instance(); namespaces_ < kinds.namespaceCount(); ++namespaces_) {
    if (ArbTreeAddNodeFactory(tree_, ElementKinds::kFirstNamespace + namespaces_) != ARB_OK) throw std::bad_alloc();
  }
  copies_.push_back(nullptr);  // where there is no memory for it, this fails before there is a copy
  if (ArbNodeCloneSubtree(element, tree_, &copies_.back()) != ARB_OK) throw std::bad_alloc();
  return copies_.back();
}

}  // namespace arbtree::tool
