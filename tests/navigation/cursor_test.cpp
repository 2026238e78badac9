// The stack of saved positions: its depth, what it refuses, and positions whose node is gone.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include "platform/heap.h"
#include "support/host.h"
#include "tree/tree.h"

namespace arbtree::test {
namespace {

class Cursors : public testing::Test {
 protected:
  Host host;
  ArbTree* const tree = host.makeTree();
  ArbNode* const root = rootOf(tree);
  ArbNode* node = untouchedNode();
};

TEST_F(Cursors, PushesBeyondTheLastEntryAreOnlyCounted) {
  std::vector<ArbNode*> pushed;
  for (std::uint32_t i = 0; i < 130; ++i) {
    pushed.push_back(host.append(root, "n"));
    const std::uint64_t live = heap::testing::liveBlocks();
    EXPECT_EQ(i < 128 ? ARB_OK : ARB_ERR_CURSORSTACK, ArbTreePushCursor(tree, pushed.back())) << i;
    EXPECT_EQ(live, heap::testing::liveBlocks());
  }
  EXPECT_EQ(130u, tree->cursorDepth);
  for (int i = 0; i < 2; ++i) {
    ok(ArbTreePopCursor(tree, &node));
    EXPECT_EQ(untouchedNode(), node);
  }
  for (std::uint32_t i = 128; i-- > 0;) {
    ok(ArbTreePopCursor(tree, &node));
    EXPECT_EQ(pushed[i], node) << i;
    EXPECT_EQ(i, tree->cursorDepth);
  }
  node = untouchedNode();
  EXPECT_EQ(ARB_ERR_CURSORSTACK, ArbTreePopCursor(tree, &node));
  EXPECT_EQ(untouchedNode(), node);
  EXPECT_EQ(0u, tree->cursorDepth);
  EXPECT_TRUE(host.runs.empty());
}

TEST_F(Cursors, EachTreeHasItsOwnAndNullIsAPosition) {
  ArbTree* const other = host.makeTree();
  ok(ArbTreePushCursor(tree, root));
  ok(ArbTreePushCursor(other, rootOf(other)));
  ok(ArbTreePushCursor(tree, nullptr));
  ok(ArbTreePopCursor(tree, &node));
  EXPECT_EQ(nullptr, node);
  ok(ArbTreePopCursor(tree, &node));
  EXPECT_EQ(root, node);
  ok(ArbTreePopCursor(other, nullptr));
  EXPECT_EQ(0u, other->cursorDepth);
}

// The push is counted, the pop takes nothing.
TEST_F(Cursors, WithoutAConsumer) {
  Host alone(1);
  ArbTree* const other = alone.makeTree();
  for (std::uint32_t i = 1; i <= 130; ++i) {
    EXPECT_EQ(ARB_ERR_MODE, ArbTreePushCursor(other, rootOf(other)));
    EXPECT_EQ(i, other->cursorDepth);
  }
  EXPECT_EQ(ARB_ERR_MODE, ArbTreePopCursor(other, &node));
  EXPECT_EQ(130u, other->cursorDepth);
  EXPECT_TRUE(std::all_of(std::begin(other->cursorStack), std::end(other->cursorStack), [](auto* c) { return !c; }));
  EXPECT_EQ(untouchedNode(), node);
}

// A marked node that is gone: production runs to its end, then there is no node. A failing producer shows instead.
TEST_F(Cursors, APositionWhoseNodeIsFreed) {
  for (const ArbStatus result : {ARB_STATUS_END, 99u}) {
    Host fresh;
    fresh.then([] { return kPause; });
    fresh.endResult = result;
    ArbTree* const other = fresh.makeTree();
    ArbNode* const gone = fresh.make(other, "gone");
    ok(ArbNodeCreateID(gone));
    ok(ArbTreePushCursor(other, gone));
    ok(ArbNodeDestroy(gone));
    node = untouchedNode();
    EXPECT_EQ(result == ARB_STATUS_END ? ARB_OK : result, ArbTreePopCursor(other, &node));
    EXPECT_EQ(nullptr, node);
    EXPECT_EQ(0u, other->cursorDepth);
    EXPECT_EQ(2u, fresh.runs.size());
  }
}

}  // namespace
}  // namespace arbtree::test
