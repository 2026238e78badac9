// Comparing and hashing nodes and subtrees. Only what is linked now takes part: a child whose cell is not resolved ends
// its list. Node numbers, ID strings, flags, marks and metadata play no part.
//
// The walks keep their place by the nodes' own links, so depth costs no stack.
#include <algorithm>

#include "nodetypes/attribute_area.h"
#include "nodetypes/hash_fold.h"

namespace arbtree {
namespace {

bool attributesAreEqual(ArbNode& a, ArbNode& b) {
  if (hasAttributeFunctions(a)) return a.nodeType->isEqual(&a, &b) != 0;
  return areaSize(a) <= areaSize(b) && std::equal(areaOf(a), areaOf(a) + areaSize(a), areaOf(b));
}

// Everything but the children themselves.
bool headsAreEqual(ArbNode& a, ArbNode& b) {
  return elementIdOf(a) == elementIdOf(b) && a.childCount == b.childCount && attributesAreEqual(a, b);
}

// Two nodes at the same place of two subtrees; the pair ends when either list ends.
struct Pair {
  ArbNode* a;
  ArbNode* b;
  explicit operator bool() const { return a && b; }
};

Pair firstChildrenOf(const Pair& pair) { return {firstChildOf(*pair.a), firstChildOf(*pair.b)}; }
Pair nextSiblingsOf(const Pair& pair) { return {nextSiblingOf(*pair.a), nextSiblingOf(*pair.b)}; }

// The pair that a recursion would compare after this one's children.
Pair following(Pair pair, const ArbNode& start) {
  while (pair && pair.a != &start) {
    if (const Pair next = nextSiblingsOf(pair)) return next;
    pair = {parentOf(*pair.a), parentOf(*pair.b)};
  }
  return {nullptr, nullptr};
}

bool subtreesAreEqual(ArbNode& a, ArbNode& b) {
  for (Pair pair = {&a, &b}; pair;) {
    Pair children = {nullptr, nullptr};
    if (pair.a != pair.b) {
      if (!headsAreEqual(*pair.a, *pair.b)) return false;
      children = firstChildrenOf(pair);
    }
    pair = children ? children : following(pair, a);
  }
  return true;
}

std::uint32_t hashNode(ArbNode& node) {
  const std::uint32_t hash = node.childCount ^ elementIdOf(node);
  if (hasAttributeFunctions(node)) return hash ^ node.nodeType->hash(&node);
  return foldHash(hash, areaOf(node), areaSize(node));
}

// Exclusive-or of the hashes of all nodes, so the order of the walk is of no account.
std::uint32_t hashSubtree(ArbNode& start) {
  std::uint32_t hash = 0;
  for (ArbNode* node = &start; node;) {
    hash ^= hashNode(*node);
    ArbNode* const child = firstChildOf(*node);
    node = child ? child : followingInSubtree(node, start);
  }
  return hash;
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

uint32_t ARB_CALL ArbNodeAttributesAreEqual(ArbNode* a, ArbNode* b) {
  if (!a || !b) return 0;
  return attributesAreEqual(*a, *b) ? 1 : 0;
}

uint32_t ARB_CALL ArbNodeIsEqual(ArbNode* a, ArbNode* b) {
  if (a == b) return 1;
  if (!a || !b) return 0;
  return subtreesAreEqual(*a, *b) ? 1 : 0;
}

uint32_t ARB_CALL ArbNodeHashCode(ArbNode* node) { return node ? hashSubtree(*node) : 0; }
