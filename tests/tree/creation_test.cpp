// Making trees and nodes: what is called in which order, what a failed creation leaves behind, cells given by the
// caller.
#include "support/host.h"
#include "tree/cell_pool.h"

namespace arbtree::test {
namespace {

TEST(Creation, AFailureReportsTheCallersNodeAndTakesNothing) {
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
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Host host;
    ArbTree* const tree = host.makeTree();
    ArbNode* const callers = host.make(tree, "caller's");
    if (row.status == ARB_ERR_LOCKED) ok(ArbForestChildProducerDone(asChild(tree)));
    host.record(true);
    const std::uint32_t number = host.document->nodeCounter;
    const std::uint32_t chunkNodes = host.document->chunkNodes;
    ArbNode* node = callers;
    EXPECT_EQ(row.status, ArbTreeCreateNode(tree, row.id, nullptr, &node));
    EXPECT_EQ(callers, node);
    Lines events = {"created caller's"};
    if (row.id == elementId(kFirstUnmade)) events.insert(events.begin(), "make " + std::to_string(kFirstUnmade));
    EXPECT_EQ(events, host.events.take());
    node = nullptr;
    EXPECT_EQ(row.status, ArbTreeCreateNode(tree, row.id, nullptr, &node));
    EXPECT_EQ("created null", host.events.take().back());
    EXPECT_EQ(number, host.document->nodeCounter);
    EXPECT_EQ(chunkNodes, host.document->chunkNodes);
    EXPECT_EQ(2u, tree->cellBlocks[0]->usedCount);
    ok(ArbNodeDestroy(callers));
  }
}

// While its root is being made a tree has none yet, and an event callback can see it so.
struct RootlessTree {
  ArbStatus query = 99, wait = 99;
  ArbNode* queried = untouchedNode();
  ArbNode* waited = untouchedNode();
};
std::uint32_t ARB_CALL askForRoot(ArbDocument*, std::uint32_t, void* argument, void* context) {
  auto& seen = *static_cast<RootlessTree*>(context);
  ArbTree* const tree = static_cast<ArbNode*>(argument)->tree;
  seen.query = ArbTreeQueryRootNode(tree, &seen.queried);
  seen.wait = ArbTreeWaitRootNode(tree, &seen.waited);
  return 0;
}

TEST(Creation, ARootThatIsNeverMade) {
  Host host;
  host.endResult = 13;
  RootlessTree seen;
  ok(ArbDocumentRegisterCallback(host.document, askForRoot, &seen));
  ArbTree* tree = nullptr;
  ok(ArbDocumentCreateTree(host.document, nullptr, &tree));
  EXPECT_EQ(ARB_ERR_NOTREADY, seen.query);
  EXPECT_EQ(untouchedNode(), seen.queried);
  EXPECT_EQ(13u, seen.wait);
  EXPECT_EQ(nullptr, seen.waited);
  EXPECT_EQ(1u, host.runs.size());
  ok(ArbTreeDestroy(tree));
}

}  // namespace
}  // namespace arbtree::test
