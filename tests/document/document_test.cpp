// What a new document is, its modes, its source-access slots, and what destroys what.
#include <set>
#include <string>

#include "support/every_function.h"

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
    EXPECT_EQ(131072u, host.document->chunkBreakSize);
  }
}

// The consumer's calls by their names; the others of such names are open to a producer as well.
bool isOfConsumer(const std::string& function) {
  static const std::set<std::string> open = {"DocumentQueryBreak", "NodeRefQueryNode", "NodeRefQueryIdString"};
  for (const char* const word : {"Query", "Wait", "Consumer", "Cursor"}) {
    if (function.find(word) != std::string::npos) return open.count(function) == 0;
  }
  return false;
}

TEST(Document, WithoutAConsumerItsCallsAreRefused) {
  for (const FunctionCall& row : everyFunction()) {
    if (!row.withNull || !isOfConsumer(row.function)) continue;
    Content content(1);
    content.run([&] { EXPECT_EQ(ARB_ERR_MODE, row.call(content)) << row.function; });
    content.clear();
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
