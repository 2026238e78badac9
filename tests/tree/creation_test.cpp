// Making trees and nodes: what a failed creation leaves behind, and a tree whose root is being made.
#include "support/host.h"
#include "tree/cell_pool.h"

namespace arbtree::test {
namespace {

using Creation = TreeTest;

TEST_F(Creation, AFailureReportsTheCallersNodeAndTakesNothing) {
  struct Row {
    const char* name;
    std::uint32_t id;
    ArbStatus status;
  };
  const Row rows[] = {
      {"no factory", elementId(1, 6), ARB_ERR_NOTFOUND},
      {"namespace 0", elementId(1, 0), ARB_ERR_NOTFOUND},
      {"a factory that makes none", elementId(kFirstUnmade), ARB_ERR_NOTFOUND},
      {"no such built-in kind", 0x08008009, ARB_ERR_NOTFOUND},
      {"a built-in id with other top bits", 0x04008002, ARB_ERR_NOTFOUND},
      {"a tree closed to new nodes", elementId(1), ARB_ERR_LOCKED},
  };
  ArbNode* const callers = host.append(root, "caller's");
  host.record();
  const std::uint32_t number = host.document->nodeCounter;
  const std::uint32_t chunkNodes = host.document->chunkNodes;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    if (row.status == ARB_ERR_LOCKED) ok(ArbForestChildProducerDone(asChild(tree)));
    for (ArbNode* const before : {callers, static_cast<ArbNode*>(nullptr)}) {
      ArbNode* node = before;
      EXPECT_EQ(row.status, ArbTreeCreateNode(tree, row.id, nullptr, &node));
      EXPECT_EQ(before, node);
      EXPECT_EQ(Lines{before ? "created caller's" : "created null"}, host.events.take());
    }
    EXPECT_EQ(number, host.document->nodeCounter);
    EXPECT_EQ(chunkNodes, host.document->chunkNodes);
    EXPECT_EQ(2u, tree->cellBlocks[0]->usedCount);
  }
}

// While its root is being made a tree has none yet, and an event callback can see it so. Nobody frees the root by
// releasing it then.
TEST(CreationOfATree, HasNoRootWhileItIsBeingMade) {
  Host host;
  host.endResult = 13;
  const auto askAndRelease = [](ArbDocument*, std::uint32_t event, void* root, void*) -> std::uint32_t {
    EXPECT_NE(ARB_EVENT_NODE_FREED, event);
    if (event != ARB_EVENT_NODE_CREATED) return 0;
    auto* const made = static_cast<ArbNode*>(root);
    ArbNode* node = untouchedNode();
    EXPECT_EQ(ARB_ERR_NOTREADY, ArbTreeQueryRootNode(made->tree, &node));
    EXPECT_EQ(untouchedNode(), node);
    EXPECT_EQ(13u, ArbTreeWaitRootNode(made->tree, &node));
    EXPECT_EQ(nullptr, node);
    ok(ArbNodeProducerRelease(made));
    ok(ArbNodeConsumerRelease(made));
    return 0;
  };
  ok(ArbDocumentRegisterCallback(host.document, askAndRelease, nullptr));
  ArbNode* const root = rootOf(host.makeTree());
  ok(ArbDocumentUnregisterCallback(host.document, askAndRelease));
  EXPECT_EQ(1u, host.runs.size());
  ASSERT_NE(nullptr, root);
  EXPECT_EQ(ARB_ERR_RELEASED, ArbNodeProducerRelease(root));
}

}  // namespace
}  // namespace arbtree::test
