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

TEST(NodeMarks, AreSetWhileTheAttributesAreOpen) {
  for (const Mark& mark : {Mark{ARB_NODE_SEPARATE_STREAM, ArbNodeSetSeparateStream},
                           Mark{ARB_NODE_SKIP_IF_EMPTY, ArbNodeSetSkipIfEmpty}}) {
    Host host;
    ArbTree* const tree = host.makeTree();
    ArbNode* const marked = host.append(rootOf(tree), "m");
    ArbNode* const plain = host.append(rootOf(tree), "p");
    EXPECT_EQ(ARB_OK, mark.set(marked));
    EXPECT_EQ(mark.flag, marked->flags2);
    EXPECT_EQ(ARB_NODE_LINKED | ARB_NODE_IN_TREE, marked->flags);
    EXPECT_EQ(ARB_OK, ArbNodeAttributesDone(marked));
    EXPECT_EQ(ARB_OK, ArbNodeAttributesDone(plain));
    EXPECT_EQ(ARB_ERR_LOCKED, mark.set(marked));
    EXPECT_EQ(ARB_ERR_LOCKED, mark.set(plain));
    EXPECT_EQ(mark.flag, marked->flags2);
    EXPECT_EQ(0, plain->flags2);
    EXPECT_EQ(mark.flag == ARB_NODE_SEPARATE_STREAM ? 1u : 0u, tree->separateStreamCount);
    EXPECT_EQ(ARB_ERR_BADARG, mark.set(nullptr));
  }
}

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

// The mark keeps the cell, which goes on telling which node it was.
TEST(NodeMarks, ASeparateStreamKeepsTheCell) {
  for (const bool marked : {true, false}) {
    Host host;
    ArbTree* const tree = host.makeTree();
    ArbNode* const node = host.make(tree, "n");
    const std::uint32_t number = node->number;
    ArbNodeRef* const cell = node->cell;
    EXPECT_EQ(ARB_OK, marked ? ArbNodeSetSeparateStream(node) : ArbNodeSetSkipIfEmpty(node));
    EXPECT_EQ(ARB_OK, ArbNodeDestroy(node));
    ArbNode* const next = host.append(rootOf(tree), "next");
    EXPECT_EQ(marked, next->cell != cell);
    if (marked) {
      EXPECT_EQ(ARB_REF_FREED, cell->state);
      EXPECT_EQ(number, cell->value);
    }
  }
}

}  // namespace
}  // namespace arbtree::test
