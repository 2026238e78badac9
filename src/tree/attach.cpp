#include "tree/attach.h"

#include "document/events.h"
#include "nodetypes/text_value.h"
#include "tree/node.h"

namespace arbtree {
namespace {

std::uint64_t accountedBytes(const ArbNode& node) {
  const std::uint64_t units = isTextBearing(elementIdOf(node)) ? asText(node).textLength : 0;
  return node.size + 2 * units;
}

// The counter stops at its largest value, so that a huge chunk stays due for a break.
void countBytes(ArbDocument& document, std::uint64_t bytes) {
  const std::uint64_t sum = document.chunkBytes + bytes;
  document.chunkBytes = sum > UINT32_MAX ? UINT32_MAX : static_cast<std::uint32_t>(sum);
}

void enterTree(ArbNode& node) {
  give(node, ARB_NODE_IN_TREE);
  countBytes(documentOf(node), accountedBytes(node));
  raiseEvent(documentOf(node), ARB_EVENT_NODE_IN_TREE, &node);
}

}  // namespace

void notifyAttached(ArbNode& start) {
  ArbNode* node = &start;
  while (node) {
    ArbNode* child = nullptr;
    if (!has(*node, ARB_NODE_IN_TREE)) {
      enterTree(*node);
      child = firstChildOf(*node);
    }
    node = child ? child : followingInSubtree(node, start);
  }
}

}  // namespace arbtree
