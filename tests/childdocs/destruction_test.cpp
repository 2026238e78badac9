// Destruction of child documents: the order, what is left in the parent, and forests nested deeper than any stack.
#include <string>
#include <utility>
#include <vector>

#include "platform/heap.h"
#include "support/host.h"
#include "support/small_stack.h"

namespace arbtree::test {
namespace {

ArbForestChild* addFile(Host& host, ArbForest* parent) {
  ArbFile* const file = host.makeFile(u"file");
  ok(ArbForestAppendChild(parent, &file->child));
  return &file->child;
}

std::string list(const ArbForest* forest) {
  std::string text;
  const ArbForestChild* previous = nullptr;
  for (const ArbForestChild* child = forest->firstChild; child; child = child->nextSibling) {
    EXPECT_EQ(previous, child->prevSibling);
    EXPECT_EQ(forest, child->parent);
    text += std::to_string(child->id) + " ";
    previous = child;
  }
  EXPECT_EQ(previous, forest->lastChild);
  return text;
}

ArbStatus destroy(ArbForestChild* child) {
  if (child->kind == ARB_CHILD_FOREST) return ArbForestDestroy(reinterpret_cast<ArbForest*>(child));
  if (child->kind == ARB_CHILD_FILE) return ArbFileDestroy(reinterpret_cast<ArbFile*>(child));
  return ArbTreeDestroy(reinterpret_cast<ArbTree*>(child));
}

TEST(ChildDestruction, EachKindLeavesTheListAndTheCount) {
  const std::uint64_t before = heap::testing::liveBlocks();
  for (std::size_t gone = 0; gone < 3; ++gone) {
    for (std::size_t order = 0; order < 3; ++order) {
      SCOPED_TRACE(testing::Message() << "kind " << gone << " at " << order);
      Host host;
      ArbForest* const root = host.document->rootForest;
      std::vector<ArbForestChild*> children(3);
      for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t kind = (gone + 3 + i - order) % 3;  // kind `gone` stands at place `order`
        children[i] = kind == 0   ? asChild(host.makeForest(root))
                      : kind == 1 ? addFile(host, root)
                                  : asChild(host.makeTree());
      }
      ok(ArbForestChildSetMetadata(children[order], 1, "0123456789", 10));
      EXPECT_EQ("2 3 4 ", list(root));
      ok(destroy(children[order]));
      EXPECT_EQ(order == 0 ? "3 4 " : order == 1 ? "2 4 " : "2 3 ", list(root));
      EXPECT_EQ(3u, root->childCount);
      host.makeForest(root);
      EXPECT_EQ(4u, root->childCount);
      EXPECT_EQ(order == 0 ? "3 4 5 " : order == 1 ? "2 4 5 " : "2 3 5 ", list(root));
    }
  }
  EXPECT_EQ(before, heap::testing::liveBlocks());
}

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
  addFile(host, inner);
  tree(inner, "3");
  tree(outer, "4");
  tree(root, "5");
  host.record();
  ok(ArbForestDestroy(outer));
  EXPECT_EQ((Lines{"freed 1", "freed 2", "freed 3", "freed 4"}), host.events.take());
  EXPECT_EQ(2u, root->childCount);
  ArbForestChild* const last = root->lastChild;
  EXPECT_EQ(last, root->firstChild);
  EXPECT_EQ(ARB_CHILD_TREE, last->kind);
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
