// Destruction of child documents: the order, and whatever is done to forests nested deeper than any stack. What is left
// in the parent is part of the random calls (forest_test.cpp).
#include <string>
#include <utility>

#include "platform/heap.h"
#include "support/host.h"
#include "support/small_stack.h"

namespace arbtree::test {
namespace {

TEST(ChildDestruction, DepthFirstInOrderOfAppending) {
  Host host;
  ArbForest* const root = host.document->rootForest;
  const auto tree = [&](ArbForest* parent, const char* name) {
    host.events.setName(rootOf(host.makeTree(parent))->number, name);
  };
  ArbForest* const outer = host.makeForest(root);
  tree(outer, "1");
  ArbForest* const inner = host.makeForest(outer);
  tree(inner, "2");
  ok(ArbForestAppendChild(inner, &host.makeFile(u"file")->child));
  tree(inner, "3");
  tree(outer, "4");
  tree(root, "5");
  host.record();
  ok(ArbForestDestroy(outer));
  EXPECT_EQ((Lines{"freed 1", "freed 2", "freed 3", "freed 4"}), host.events.take());
  ArbDocument* const document = std::exchange(host.document, nullptr);
  ok(ArbDocumentDestroy(document));
  EXPECT_EQ((Lines{"freed 5"}), host.events.take());
}

TEST(ChildDestruction, ForestsAHundredThousandDeep) {
  const std::uint64_t before = heap::testing::liveBlocks();
  for (const bool release : {false, true}) {
    Host host;
    ArbForest* forest = host.document->rootForest;
    ArbForest* top = nullptr;
    for (int level = 0; level < 100'000; ++level) {
      if (level % 1000 == 0) host.makeTree();
      forest = host.makeForest(forest);
      if (!top) top = forest;
    }
    onSmallStack([&] {
      std::u16string path(200'000, u'#');
      auto size = static_cast<std::uint32_t>(path.size());
      ok(ArbForestChildGetDocumentPath(asChild(forest), path.data(), &size));
      EXPECT_EQ(path.size(), size) << "a letter for each name and a separator or the end";
      EXPECT_TRUE(path.starts_with(u"f/f/") && path.ends_with(std::u16string(u"f/f\0", 4)));
      if (release) {
        ok(ArbForestProducerReleaseSubtree(host.document->rootForest));
        ok(ArbForestConsumerReleaseSubtree(host.document->rootForest));
        EXPECT_EQ(ARB_CHILD_ATTACHED | ARB_CHILD_CLOSED | ARB_CHILD_PRODUCER_DONE | ARB_CHILD_PRODUCER_RELEASED |
                      ARB_CHILD_CONSUMER_RELEASED,
                  forest->child.flags);
        ok(ArbForestDestroy(top));
      }
      host.destroy();
    });
    EXPECT_EQ(before, heap::testing::liveBlocks());
  }
}

}  // namespace
}  // namespace arbtree::test
