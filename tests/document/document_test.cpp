// What a new document is, its modes, its source-access slots, and what destroys what.
#include <set>
#include <string>

#include "support/every_function.h"

namespace arbtree::test {
namespace {

TEST(Document, OnlyModeOneHasNoConsumer) {
  for (const std::uint32_t mode : {0u, 1u, 2u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(mode);
    const ArbStatus expected = mode == 1 ? ArbStatus{ARB_ERR_MODE} : ArbStatus{ARB_OK};
    Host host(mode);
    ArbNode* root = nullptr;
    ArbTree* const tree = host.makeTree();
    EXPECT_EQ(expected, ArbTreeQueryRootNode(tree, &root));
    EXPECT_EQ(expected, ArbTreeWaitRootNode(tree, &root));
    EXPECT_EQ(expected, ArbTreeQueryRootNode(tree, nullptr));
    EXPECT_EQ(mode == 1 ? nullptr : rootOf(tree), root);
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
  const auto get = [&](std::uint32_t slot) {
    ArbInterfaceFunction found = otherFunction;
    EXPECT_EQ(slot < 3 ? ARB_OK : ARB_ERR_BADARG, ArbDocumentGetInterface(host.document, slot, &found));
    return found;
  };
  for (std::uint32_t slot = 0; slot < 3; ++slot) {
    SCOPED_TRACE(slot);
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentSetInterface(host.document, slot, nullptr));
    EXPECT_EQ(defaults[slot], get(slot));
    ok(ArbDocumentSetInterface(host.document, slot, otherFunction));
    EXPECT_EQ(&otherFunction, get(slot));
  }
  for (const std::uint32_t slot : {3u, 4u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(slot);
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentSetInterface(host.document, slot, otherFunction));
    EXPECT_EQ(nullptr, get(slot));
  }
}

}  // namespace
}  // namespace arbtree::test
