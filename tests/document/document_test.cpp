// What a new document is, its modes, its source-access slots, and what destroys what.
#include "support/host.h"

namespace arbtree::test {
namespace {

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
    ok(ArbDocumentGetInterface(host.document, slot, &found));
    EXPECT_EQ(defaults[slot], found);
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentSetInterface(host.document, slot, nullptr));
    ok(ArbDocumentGetInterface(host.document, slot, &found));
    EXPECT_EQ(defaults[slot], found);
    ok(ArbDocumentSetInterface(host.document, slot, otherFunction));
    ok(ArbDocumentGetInterface(host.document, slot, &found));
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
