// Trees of a million levels, and of a hundred thousand children, through every walk, on a stack that holds no walk.
#include <gtest/gtest.h>

#include <functional>

#include "platform/heap.h"
#include "support/host.h"
#include "support/small_stack.h"

namespace arbtree::test {
namespace {

constexpr std::uint32_t kLevels = 1'000'000;
constexpr std::uint32_t kChildren = 100'000;

struct Counts {
  std::uint32_t events[9] = {};
  static std::uint32_t ARB_CALL onEvent(ArbDocument*, std::uint32_t event, void*, void* context) {
    ++static_cast<Counts*>(context)->events[event];
    return 0;
  }
};

// A subtree of `count` nodes under `top`, which stays out of the tree; each node below the one before, or all below
// top.
void grow(ArbNode* top, std::uint32_t count, bool deep) {
  ArbNode* parent = top;
  for (std::uint32_t i = 0; i < count; ++i) {
    ArbNode* node = nullptr;
    ASSERT_EQ(ARB_OK, ArbTreeCreateNode(top->tree, elementId(1), nullptr, &node));
    ASSERT_EQ(ARB_OK, ArbNodeAppendChild(parent, node));
    if (deep) parent = node;
  }
}

struct Work {
  const char* name;
  std::uint32_t mode;
  std::function<void(ArbTree* tree, ArbNode* root, ArbNode* top)> run;
  std::uint32_t freedEvents;  // as a multiple of the nodes, plus the fixed ones below
  std::uint32_t freedFixed;
  bool gone;  // the subtree under the root is freed
};

void ok(ArbStatus status) { EXPECT_EQ(ARB_OK, status); }

void attach(ArbNode* root, ArbNode* top) {
  ok(ArbNodeAppendChild(root, top));
  ok(ArbNodeAllChildrenAttached(root));
}

// Every node by itself, from the top down: the last one frees all.
template <typename Call>
void releaseEach(ArbNode* top, Call call) {
  for (ArbNode* node = top; node;) {
    ArbNode* const next = resolve(node->firstChildCell);
    ok(call(node));
    node = next;
  }
}

void inEachShape(const Work& work, bool deep) {
  SCOPED_TRACE(testing::Message() << work.name << (deep ? ", deep" : ", wide"));
  const std::uint32_t count = deep ? kLevels : kChildren;
  const std::uint64_t elements = liveElements();
  Host host(work.mode);
  ArbTree* const tree = host.makeTree();
  ArbNode* const root = rootOf(tree);
  ArbNode* const top = host.make(tree, "top");
  grow(top, count - 1, deep);
  Counts counts;
  ok(ArbDocumentRegisterCallback(host.document, Counts::onEvent, &counts));
  onSmallStack([&] { work.run(tree, root, top); });
  EXPECT_EQ(work.freedEvents * count + work.freedFixed, counts.events[ARB_EVENT_NODE_FREED]);
  if (work.gone) {
    EXPECT_EQ(elements, liveElements());
  }
  onSmallStack([&] { host.destroy(); });
  EXPECT_EQ(elements, liveElements());
}

TEST(DeepTree, EveryWalkInConstantStack) {
  const Work works[] = {
      {"destroyed while loose", 0, [](ArbTree*, ArbNode*, ArbNode* top) { ok(ArbNodeDestroy(top)); }, 0, 1, true},
      {"attached and destroyed with the tree", 0, [](ArbTree*, ArbNode* root, ArbNode* top) { attach(root, top); }, 0,
       0, false},
      {"tree destroyed by itself", 0,
       [](ArbTree* tree, ArbNode* root, ArbNode* top) { attach(root, top), ok(ArbTreeDestroy(tree)); }, 0, 1, true},
      {"completed, released by producer then consumer", 0,
       [](ArbTree*, ArbNode* root, ArbNode* top) {
         attach(root, top);
         ok(ArbNodeProducerDoneSubtree(top));
         ok(ArbNodeProducerReleaseSubtree(top));
         ok(ArbNodeConsumerReleaseSubtree(top));
       },
       1, 0, true},
      {"completed, released by consumer then producer", 0,
       [](ArbTree*, ArbNode* root, ArbNode* top) {
         attach(root, top);
         ok(ArbNodeProducerDoneSubtree(top));
         ok(ArbNodeConsumerReleaseSubtree(top));
         ok(ArbNodeProducerReleaseSubtree(top));
       },
       1, 0, true},
      {"released through the child document", 0,
       [](ArbTree* tree, ArbNode* root, ArbNode* top) {
         attach(root, top);
         ok(ArbForestChildProducerRelease(asChild(tree)));
         ok(ArbForestChildConsumerRelease(asChild(tree)));
       },
       1, 0, true},
      {"no consumer, released by the producer", 1,
       [](ArbTree*, ArbNode* root, ArbNode* top) {
         attach(root, top);
         ok(ArbNodeProducerDoneSubtree(top));
         ok(ArbNodeProducerReleaseSubtree(top));
       },
       1, 0, true},
  };
  for (const Work& work : works) {
    inEachShape(work, true);
    inEachShape(work, false);
  }
}

TEST(DeepTree, OneReleaseFreesAMillionAncestors) {
  const Work works[] = {
      {"the consumer's release", 0,
       [](ArbTree*, ArbNode* root, ArbNode* top) {
         attach(root, top);
         ok(ArbNodeProducerReleaseSubtree(top));
         releaseEach(top, ArbNodeConsumerRelease);
       },
       1, 0, true},
      {"the producer's release", 0,
       [](ArbTree*, ArbNode* root, ArbNode* top) {
         attach(root, top);
         ok(ArbNodeConsumerReleaseSubtree(top));
         releaseEach(top, ArbNodeProducerRelease);
       },
       1, 0, true},
      {"the producer's release without a consumer", 1,
       [](ArbTree*, ArbNode* root, ArbNode* top) {
         attach(root, top);
         releaseEach(top, ArbNodeProducerRelease);
       },
       1, 0, true},
      {"a release within a loose chain", 0,
       [](ArbTree*, ArbNode* root, ArbNode* top) {
         ok(ArbNodeProducerDoneSubtree(top));
         ArbNode* lowest = nullptr;
         for (ArbNode* node = resolve(top->firstChildCell); node;) {
           lowest = node;
           node = resolve(node->firstChildCell);
           ok(ArbNodeProducerRelease(lowest));
           ok(ArbNodeConsumerRelease(lowest));
         }
         attach(root, top);
         ok(ArbNodeProducerRelease(top));
         ok(ArbNodeConsumerRelease(top));
       },
       1, 0, true},
  };
  for (const Work& work : works) inEachShape(work, true);
}

}  // namespace
}  // namespace arbtree::test
