// Marks that a producer sets for the tree's consumer while a node's attributes are open. They are never cleared.
#include "tree/growing_array.h"
#include "tree/node.h"

namespace arbtree {
namespace {

constexpr std::uint32_t kFirstSeparateStreams = 32;

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbNodeSetSeparateStream(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  if (has(*node, ARB_NODE_ATTRIBUTES_DONE)) return ARB_ERR_LOCKED;
  ArbTree& tree = *node->tree;
  if (!reserveOne(tree.separateStreamCells, tree.separateStreamCapacity, tree.separateStreamCount,
                  kFirstSeparateStreams)) {
    return ARB_ERR_NOMEMORY;
  }
  giveMark(*node, ARB_NODE_SEPARATE_STREAM);
  tree.separateStreamCells[tree.separateStreamCount++] = node->cell;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbNodeSetSkipIfEmpty(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  if (has(*node, ARB_NODE_ATTRIBUTES_DONE)) return ARB_ERR_LOCKED;
  giveMark(*node, ARB_NODE_SKIP_IF_EMPTY);
  return ARB_OK;
}
