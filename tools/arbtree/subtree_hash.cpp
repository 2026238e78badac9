// One walk over the links: each node adds what it is and what it holds, and its number of children, which gives the
// order its meaning.
#include "subtree_hash.h"

#include <functional>
#include <string_view>

#include "node_links.h"

namespace arbtree::tool {
namespace {

ArbNode* linked(const ArbNodeRef* cell) { return cell ? reinterpret_cast<ArbNode*>(cell->value) : nullptr; }

std::uint64_t contentHash(ArbNode* node) {
  if (!isText(*node)) return node->nodeType->hash(node);
  const auto& text = *reinterpret_cast<const ArbTextNode*>(node);
  return std::hash<std::u16string_view>()({text.text, text.textLength});
}

// The finish of a multiplicative hash, in which each bit of the sum reaches each of the result.
std::uint64_t mix(std::uint64_t hash, std::uint64_t value) {
  hash = (hash ^ value) * 0x9E3779B97F4A7C15u;
  return hash ^ hash >> 32;
}

ArbNode* following(ArbNode* node, const ArbNode* start) {
  for (; node != start; node = parentOf(*node)) {
    if (ArbNode* const next = linked(node->nextSiblingCell)) return next;
  }
  return nullptr;
}

}  // namespace

std::uint64_t subtreeHash(ArbNode* start) {
  std::uint64_t hash = 0;
  for (ArbNode* node = start; node;) {
    hash = mix(mix(mix(hash, node->nodeType->elementId), contentHash(node)), node->childCount);
    ArbNode* const child = linked(node->firstChildCell);
    node = child ? child : following(node, start);
  }
  return hash;
}

}  // namespace arbtree::tool
