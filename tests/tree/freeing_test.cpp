// When a node is freed, and in which order events, links and destroyers follow.
#include <gtest/gtest.h>

#include "support/host.h"

namespace arbtree::test {
namespace {

// One row lacks exactly one condition of the free rule, or none.
TEST(FreeRule, EveryConditionCounts) {
  struct Row {
    const char* name;
    std::uint32_t mode;
    bool producer, consumer, child, last, closed;
    bool freed;
  };
  const Row rows[] = {
      {"all hold", 0, true, true, false, false, false, true},
      {"last of a closed list", 0, true, true, false, true, true, true},
      {"producer holds it", 0, false, true, false, false, true, false},
      {"consumer holds it", 0, true, false, false, false, true, false},
      {"a child lives", 0, true, true, true, false, true, false},
      {"last of an open list", 0, true, true, false, true, false, false},
      {"no consumer", 1, true, false, false, false, false, true},
      {"no consumer, last of a closed list", 1, true, false, false, true, true, true},
      {"no consumer, producer holds it", 1, false, false, false, false, true, false},
      {"no consumer, a child lives", 1, true, false, true, false, true, false},
      {"no consumer, last of an open list", 1, true, false, false, true, false, false},
  };
  for (const Row& row : rows) {
    for (const bool consumerFirst : {false, true}) {
      SCOPED_TRACE(testing::Message() << row.name << (consumerFirst ? ", consumer first" : ", producer first"));
      Host host(row.mode);
      ArbNode* const root = rootOf(host.makeTree());
      ArbNode* const a = host.append(root, "a");
      if (row.child) host.append(a, "child");
      if (!row.last) host.append(root, "next");
      if (row.closed) {
        EXPECT_EQ(ARB_OK, ArbNodeAllChildrenAttached(root));
      }
      const ArbNodeRef* const cell = a->cell;
      if (row.consumer && consumerFirst) {
        EXPECT_EQ(ARB_OK, ArbNodeConsumerRelease(a));
      }
      if (row.producer) {
        EXPECT_EQ(ARB_OK, ArbNodeProducerRelease(a));
      }
      if (row.consumer && !consumerFirst) {
        EXPECT_EQ(ARB_OK, ArbNodeConsumerRelease(a));
      }
      EXPECT_EQ(row.freed, resolve(cell) == nullptr);
    }
  }
}

TEST(FreeRule, TheRootIsFreedWithItsTreeOnly) {
  Host host;
  ArbTree* const tree = host.makeTree();
  ArbNode* const root = rootOf(tree);
  EXPECT_EQ(ARB_OK, ArbNodeProducerRelease(root));
  EXPECT_EQ(ARB_OK, ArbNodeConsumerRelease(root));
  EXPECT_EQ(root, rootOf(tree));
  EXPECT_EQ(ARB_ERR_ATTACHED, ArbNodeDestroy(root));
}

TEST(FreeRule, ALeafKeptAsLastOfAnOpenListIsNotLookedAtAgain) {
  Host host;
  ArbNode* const root = rootOf(host.makeTree());
  ArbNode* const a = host.append(root, "a");
  EXPECT_EQ(ARB_OK, ArbNodeProducerRelease(a));
  EXPECT_EQ(ARB_OK, ArbNodeConsumerRelease(a));
  host.append(root, "b");
  EXPECT_EQ(ARB_OK, ArbNodeAllChildrenAttached(root));
  EXPECT_EQ("root(a b)", host.shape(root));
  EXPECT_EQ(ARB_ERR_RELEASED, ArbNodeProducerRelease(a));
  EXPECT_EQ(ARB_ERR_RELEASED, ArbNodeConsumerRelease(a));
  EXPECT_EQ("root(a b)", host.shape(root));
}

// Releasing the last child frees its released ancestors: each is announced before its own ancestors, and destroyed
// after.
TEST(FreeingOrder, CascadeUpAChain) {
  Host host;
  ArbNode* const root = rootOf(host.makeTree());
  ArbNode* const a = host.append(root, "a");
  ArbNode* const b = host.append(a, "b");
  ArbNode* const c = host.append(b, "c");
  EXPECT_EQ(ARB_OK, ArbNodeProducerDoneSubtree(root));
  EXPECT_EQ(ARB_OK, ArbNodeProducerReleaseSubtree(root));
  EXPECT_EQ(ARB_OK, ArbNodeConsumerRelease(a));
  EXPECT_EQ(ARB_OK, ArbNodeConsumerRelease(b));
  host.record(true);
  EXPECT_EQ(ARB_OK, ArbNodeConsumerRelease(c));
  EXPECT_EQ((Lines{"consumer-release c", "freed c", "freed b", "freed a", "destroy a", "destroy b", "destroy c"}),
            host.events.take());
  EXPECT_EQ("root", host.shape(root));
  EXPECT_EQ(1u, root->freedChildCount);
}

TEST(FreeingOrder, ASubtreeIsAnnouncedOnceAndDestroyedInPostOrder) {
  Host host;
  ArbTree* const tree = host.makeTree();
  ArbNode* const top = host.make(tree, "top");
  ArbNode* const a = host.append(top, "a");
  ArbNode* const b = host.append(a, "b");
  host.append(b, "c");
  host.append(b, "d");
  host.append(a, "e");
  host.append(top, "f");
  host.record(true);
  EXPECT_EQ(ARB_OK, ArbNodeDestroy(a));
  EXPECT_EQ((Lines{"freed a", "destroy c", "destroy d", "destroy b", "destroy e", "destroy a"}), host.events.take());
  EXPECT_EQ("top(f)", host.shape(top));
  EXPECT_EQ(2u, top->childCount);
  EXPECT_EQ(1u, top->freedChildCount);
  EXPECT_EQ(ARB_OK, ArbNodeDestroy(top));
  EXPECT_EQ((Lines{"freed top", "destroy f", "destroy top"}), host.events.take());
}

TEST(FreeingOrder, FreeingASubtreeFreesItsReleasedParentBeforeItIsDestroyed) {
  Host host;
  ArbTree* const tree = host.makeTree();
  ArbNode* const top = host.make(tree, "top");
  ArbNode* const a = host.append(top, "a");
  ArbNode* const b = host.append(a, "b");
  host.append(b, "c");
  EXPECT_EQ(ARB_OK, ArbNodeProducerRelease(a));
  EXPECT_EQ(ARB_OK, ArbNodeConsumerRelease(a));
  EXPECT_EQ(ARB_OK, ArbNodeAllChildrenAttached(top));
  host.record(true);
  EXPECT_EQ(ARB_OK, ArbNodeDestroy(b));
  EXPECT_EQ((Lines{"freed b", "destroy c", "freed a", "destroy a", "destroy b"}), host.events.take());
  EXPECT_EQ("top", host.shape(top));
  EXPECT_EQ(ARB_OK, ArbNodeDestroy(top));
}

TEST(FreeingOrder, ATreeGoesFromItsRootAndLeavesWhatWasNeverLinked) {
  Host host;
  ArbTree* const tree = host.makeTree();
  ArbNode* const root = rootOf(tree);
  ArbNode* const loose = host.make(tree, "loose");
  ArbNode* const a = host.append(root, "a");
  host.append(a, "b");
  host.append(root, "c");
  EXPECT_EQ(ARB_OK, ArbNodeDestroy(loose));
  host.record(true);
  EXPECT_EQ(ARB_OK, ArbTreeDestroy(tree));
  EXPECT_EQ((Lines{"freed root", "destroy b", "destroy a", "destroy c"}), host.events.take());
  EXPECT_EQ(nullptr, host.document->rootForest->firstChild);
  EXPECT_EQ(nullptr, host.document->rootForest->lastChild);
  EXPECT_EQ(1u, host.document->rootForest->childCount);
}

TEST(FreeingOrder, NodeDestroyRefusesWhatIsInTheTree) {
  Host host;
  ArbNode* const root = rootOf(host.makeTree());
  ArbNode* const a = host.append(root, "a");
  host.record(true);
  EXPECT_EQ(ARB_ERR_ATTACHED, ArbNodeDestroy(a));
  EXPECT_EQ(Lines{}, host.events.take());
  EXPECT_EQ("root(a)", host.shape(root));
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
  EXPECT_EQ(ARB_OK, ArbNodeSetMetadata(a, 1, "abcdefgh", 8));
  host.record(true);
  EXPECT_EQ(ARB_ERR_NOTFOUND, ArbNodeDestroy(a));
  EXPECT_EQ((Lines{"freed a"}), host.events.take());
  EXPECT_EQ("top", host.shape(top));
  EXPECT_EQ(ARB_REF_FREED, cell->state);
  EXPECT_EQ(number, cell->value);
  EXPECT_EQ(nullptr, a->metadata);
  a->nodeType = type;
  destroyElement(a);
  EXPECT_EQ(ARB_OK, ArbNodeDestroy(top));
}

}  // namespace
}  // namespace arbtree::test
