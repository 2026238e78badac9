// The two marks that a producer sets for the consumer, and the tree's list of nodes with a stream of their own.
#include <gtest/gtest.h>

#include <vector>

#include "support/host.h"
#include "tree/tree.h"

namespace arbtree::test {
namespace {

struct Mark {
  std::uint8_t flag;
  ArbStatus(ARB_CALL* set)(ArbNode*);
};

// In the order marked, a node as often as it was marked; 32 entries at first, then doubled.
TEST(NodeMarks, TheListOfSeparateStreams) {
  Host host;
  ArbTree* const tree = host.makeTree();
  std::vector<ArbNodeRef*> cells;
  for (std::uint32_t i = 0; i < 65; ++i) {
    ArbNode* const node = i % 3 == 2 ? resolve(cells.back()) : host.append(rootOf(tree), "n");
    EXPECT_EQ(ARB_OK, ArbNodeSetSeparateStream(node));
    cells.push_back(node->cell);
    EXPECT_EQ(i < 32 ? 32u : i < 64 ? 64u : 128u, tree->separateStreamCapacity) << i;
  }
  EXPECT_EQ(cells, (std::vector<ArbNodeRef*>(tree->separateStreamCells, tree->separateStreamCells + 65)));
  EXPECT_EQ(65u, tree->separateStreamCount);
}

}  // namespace
}  // namespace arbtree::test
