// When a node is freed, and in which order events, links and destroyers follow.
#include "support/host.h"

namespace arbtree::test {
namespace {

// Releasing the last child frees its released ancestors: each is announced before its own ancestors, and destroyed
// after.
TEST(FreeingOrder, CascadeUpAChain) {
  Host host;
  ArbNode* const root = rootOf(host.makeTree());
  ArbNode* const a = host.append(root, "a");
  ArbNode* const b = host.append(a, "b");
  ArbNode* const c = host.append(b, "c");
  ok(ArbNodeProducerDoneSubtree(root));
  ok(ArbNodeProducerReleaseSubtree(root));
  ok(ArbNodeConsumerRelease(a));
  ok(ArbNodeConsumerRelease(b));
  host.record(true);
  ok(ArbNodeConsumerRelease(c));
  EXPECT_EQ((Lines{"consumer-release c", "freed c", "freed b", "freed a", "destroy a", "destroy b", "destroy c"}),
            host.events.take());
  EXPECT_EQ("root", host.shape(root));
  EXPECT_EQ(1u, root->freedChildCount);
}

TEST(FreeingOrder, ATreeGoesFromItsRootAndLeavesWhatWasNeverLinked) {
  Host host;
  ArbTree* const tree = host.makeTree();
  ArbNode* const root = rootOf(tree);
  ArbNode* const loose = host.make(tree, "loose");
  ArbNode* const a = host.append(root, "a");
  host.append(a, "b");
  host.append(root, "c");
  ok(ArbNodeDestroy(loose));
  host.record(true);
  ok(ArbTreeDestroy(tree));
  EXPECT_EQ((Lines{"freed root", "destroy b", "destroy a", "destroy c"}), host.events.take());
  EXPECT_EQ(nullptr, host.document->rootForest->firstChild);
  EXPECT_EQ(nullptr, host.document->rootForest->lastChild);
  EXPECT_EQ(1u, host.document->rootForest->childCount);
}

// The callback that is told of it frees the node once more.
TEST(FreeingOrder, FreeingWithinFreeing) {
  Host host;
  ArbTree* const tree = host.makeTree();
  ArbNode* const top = host.make(tree, "top");
  host.append(top, "a");
  host.record(true);
  const auto again = [](ArbDocument*, std::uint32_t event, void* node, void*) -> std::uint32_t {
    if (event == ARB_EVENT_NODE_FREED) ok(ArbNodeDestroy(static_cast<ArbNode*>(node)));
    return 0;
  };
  ok(ArbDocumentRegisterCallback(host.document, again, nullptr));
  ok(ArbNodeDestroy(top));
  EXPECT_EQ((Lines{"freed top", "destroy a", "destroy top"}), host.events.take());
  ok(ArbDocumentUnregisterCallback(host.document, again));
}

// A node whose destroyer cannot be found is settled like any other, but its record stays.
TEST(FreeingOrder, ANodeWithoutDestroyerKeepsItsRecord) {
  Host host;
  ArbTree* const tree = host.makeTree();
  ArbNode* const top = host.make(tree, "top");
  ArbNode* const a = host.append(top, "a");
  ArbNodeRef* const cell = a->cell;
  const std::uint32_t number = a->number;
  const ArbNodeType* const type = a->nodeType;
  ArbNodeType foreign{};
  foreign.elementId = elementId(1, 6);
  a->nodeType = &foreign;
  ok(ArbNodeSetMetadata(a, 1, "abcdefgh", 8));
  host.record(true);
  EXPECT_EQ(ARB_ERR_NOTFOUND, ArbNodeDestroy(a));
  EXPECT_EQ((Lines{"freed a"}), host.events.take());
  EXPECT_EQ("top", host.shape(top));
  EXPECT_EQ(ARB_REF_FREED, cell->state);
  EXPECT_EQ(number, cell->value);
  EXPECT_EQ(nullptr, a->metadata);
  a->nodeType = type;
  destroyElement(a);
  ok(ArbNodeDestroy(top));
}

}  // namespace
}  // namespace arbtree::test
