// What a new document is, its modes, its source-access slots, and what destroys what.
#include <gtest/gtest.h>

#include "platform/heap.h"
#include "support/host.h"

namespace arbtree::test {
namespace {

TEST(Document, NewDocumentHasItsRootForestAndNothingElse) {
  const std::uint64_t before = heap::testing::liveBlocks();
  Host host;
  const ArbForest* const root = host.document->rootForest;
  EXPECT_EQ(ARB_CHILD_FOREST, root->child.kind);
  EXPECT_EQ(1u, root->child.id);
  EXPECT_EQ(1998u, root->child.formatId);
  EXPECT_EQ(ARB_CHILD_ATTACHED, root->child.flags);
  EXPECT_EQ(host.document, root->child.document);
  EXPECT_EQ(nullptr, root->child.parent);
  EXPECT_EQ(0u, root->archiveType);
  EXPECT_EQ(0u, root->childCount);
  EXPECT_EQ(ARB_DOC_START_PENDING, host.document->flags);
  EXPECT_EQ(131072u, host.document->chunkBreakSize);
  EXPECT_EQ(1u, host.document->chunkChildren);
  EXPECT_EQ(0u, host.document->runCount);
  EXPECT_EQ(0u, host.document->callbackCount);
  EXPECT_TRUE(host.runs.empty());

  ArbForest* forest = nullptr;
  ASSERT_EQ(ARB_OK, ArbDocumentCreateForest(host.document, u"x", &forest));
  EXPECT_EQ(2u, forest->child.id);
  EXPECT_EQ(1u, forest->archiveType);
  EXPECT_EQ(0u, forest->child.flags);
  EXPECT_EQ(2u, host.document->chunkChildren);
  EXPECT_EQ(3u, asChild(host.makeTree())->id);
  EXPECT_EQ(3u, host.document->chunkChildren);

  // A child that was never appended is its creator's.
  EXPECT_EQ(ARB_OK, ArbForestDestroy(forest));
  host.destroy();
  EXPECT_EQ(before, heap::testing::liveBlocks());
}

TEST(Document, OnlyModeOneHasNoConsumer) {
  struct Row {
    std::uint32_t mode;
    ArbStatus root;
  };
  for (const Row& row : {Row{0, ARB_OK}, Row{1, ARB_ERR_MODE}, Row{2, ARB_OK}, Row{0xFFFFFFFFu, ARB_OK}}) {
    SCOPED_TRACE(row.mode);
    Host host(row.mode);
    ArbNode* root = nullptr;
    ArbTree* const tree = host.makeTree();
    EXPECT_EQ(row.root, ArbTreeQueryRootNode(tree, &root));
    EXPECT_EQ(row.root, ArbTreeWaitRootNode(tree, &root));
    EXPECT_EQ(row.root, ArbTreeQueryRootNode(tree, nullptr));
    EXPECT_EQ(row.root == ARB_OK ? rootOf(tree) : nullptr, root);
    EXPECT_TRUE(host.runs.empty());
  }
}

void ARB_CALL otherFunction() {}

TEST(Document, SourceAccessSlots) {
  Host host;
  const ArbInterfaceFunction defaults[] = {reinterpret_cast<ArbInterfaceFunction>(&SrcGetFileHandle),
                                           reinterpret_cast<ArbInterfaceFunction>(&SrcGetOutputFileHandle),
                                           reinterpret_cast<ArbInterfaceFunction>(&SrcGetFormatInfo)};
  for (std::uint32_t slot = 0; slot < 3; ++slot) {
    SCOPED_TRACE(slot);
    ArbInterfaceFunction found = nullptr;
    EXPECT_EQ(ARB_OK, ArbDocumentGetInterface(host.document, slot, &found));
    EXPECT_EQ(defaults[slot], found);
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentSetInterface(host.document, slot, nullptr));
    EXPECT_EQ(ARB_OK, ArbDocumentGetInterface(host.document, slot, &found));
    EXPECT_EQ(defaults[slot], found);
    EXPECT_EQ(ARB_OK, ArbDocumentSetInterface(host.document, slot, otherFunction));
    EXPECT_EQ(ARB_OK, ArbDocumentGetInterface(host.document, slot, &found));
    EXPECT_EQ(&otherFunction, found);
  }
  for (const std::uint32_t slot : {3u, 4u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(slot);
    ArbInterfaceFunction found = otherFunction;
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentSetInterface(host.document, slot, otherFunction));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentGetInterface(host.document, slot, &found));
    EXPECT_EQ(nullptr, found);
  }
}

}  // namespace
}  // namespace arbtree::test
