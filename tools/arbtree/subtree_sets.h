// Sets of equal subtrees: elements of one name, those within others included.
//
// The first of each set is kept in a copy, in a tree of its own document, where later ones are compared with it; so
// memory grows with what is different. An element within another one needs no copy of its own.
#ifndef ARBTREE_TOOL_SUBTREE_SETS_H
#define ARBTREE_TOOL_SUBTREE_SETS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

#include "arbtree/arbtree.h"
#include "element_kinds.h"

namespace arbtree::tool {

class SubtreeSets {
 public:
  explicit SubtreeSets(const ElementKind& kind);
  ~SubtreeSets();
  SubtreeSets(const SubtreeSets&) = delete;
  SubtreeSets& operator=(const SubtreeSets&) = delete;

  using Found = std::function<void(std::size_t set, const ArbNode& element)>;
  // Gives the set of an element of the name, and that of each in it, in document order. New sets get the next numbers.
  // Takes time in proportion to the subtree, however its elements are nested. REQUIRES: the subtree is complete,
  // nothing of it has been freed, and the element is not within one that has been added.
  void add(ArbNode* element, const Found& found);

 private:
  bool isCounted(const ArbNode& node) const { return node.nodeType->elementId == kind_.elementId; }
  std::vector<std::uint64_t> hashesWithin(ArbNode* element) const;
  ArbNode* findEqual(std::uint64_t hash, ArbNode* element) const;
  ArbNode* keepCopy(ArbNode* element);

  const ElementKind& kind_;
  ArbHostContext host_ = {};
  ArbDocument* document_ = nullptr;
  ArbTree* tree_ = nullptr;
  std::uint32_t namespaces_ = 0;  // that the tree knows
  std::size_t count_ = 0;
  std::vector<ArbNode*> copies_;
  std::unordered_multimap<std::uint64_t, ArbNode*> firsts_;     // of the sets, in copies, by hash
  std::unordered_map<const ArbNode*, std::size_t> setsByCopy_;  // of each element of the name in a copy
};

}  // namespace arbtree::tool

#endif
