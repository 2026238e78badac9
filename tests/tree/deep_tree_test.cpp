// Trees of a million levels, and of a hundred thousand children, through every walk, on a stack that holds no walk.
#include "support/host.h"
#include "support/small_stack.h"

namespace arbtree::test {
namespace {

constexpr std::uint32_t kLevels = 1'000'000;
constexpr std::uint32_t kChildren = 100'000;

struct Counts {
  std::uint32_t events[9] = {}, starts = 0;
  static std::uint32_t ARB_CALL onStart(ArbNode*, std::uint32_t, void* self) {
    return ++static_cast<Counts*>(self)->starts;
  }
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
    ok(ArbTreeCreateNode(top->tree, elementId(1), nullptr, &node));
    ok(ArbNodeAppendChild(parent, node));
    if (deep) parent = node;
  }
}

// Every node by itself, from the top down: the last one frees all.
template <typename... Calls>
void releaseEach(ArbNode* top, Calls... calls) {
  for (ArbNode* node = top; node;) {
    ArbNode* const next = resolve(node->firstChildCell);
    (ok(calls(node)), ...);
    node = next;
  }
}

// One letter of a script.
void take(char letter, ArbTree* tree, ArbNode* top, Counts& counts) {
  ArbNode* const root = rootOf(tree);
  if (letter == 'a') ok(ArbNodeAppendChild(root, top)), ok(ArbNodeAllChildrenAttached(root));
  if (letter == 'd') ok(ArbNodeProducerDoneSubtree(top));
  if (letter == 'p') ok(ArbNodeProducerReleaseSubtree(top));
  if (letter == 'c') ok(ArbNodeConsumerReleaseSubtree(top));
  if (letter == 'P') releaseEach(top, ArbNodeProducerRelease);
  if (letter == 'C') releaseEach(top, ArbNodeConsumerRelease);
  if (letter == 'L') releaseEach(resolve(top->firstChildCell), ArbNodeProducerRelease, ArbNodeConsumerRelease);
  if (letter == 'w') {
    ArbTraverserCallbacks callbacks{};
    callbacks.startElement = Counts::onStart;
    EXPECT_LT(0u, ArbDocumentOrderTraverser(top, &callbacks, &counts));
  }
  if (letter == 'x') ok(ArbNodeDestroy(top));
  if (letter == 't') ok(ArbTreeDestroy(tree));
  if (letter == 'f') ok(ArbForestChildProducerRelease(asChild(tree))), ok(ArbForestChildConsumerRelease(asChild(tree)));
}

struct Work {
  const char* name;
  std::uint32_t mode;
  const char* script;
  std::uint32_t freedEvents;  // for each node of the subtree, plus the fixed ones below
  std::uint32_t freedFixed;
  bool gone;  // the script frees the subtree
};

void inShape(const Work& work, bool deep) {
  SCOPED_TRACE(testing::Message() << work.name << (deep ? ", deep" : ", wide"));
  const std::uint32_t count = deep ? kLevels : kChildren;
  const std::uint64_t elements = liveElements();
  Host host(work.mode);
  ArbTree* const tree = host.makeTree();
  ArbNode* const top = host.make(tree, "top");
  grow(top, count - 1, deep);
  Counts counts;
  ok(ArbDocumentRegisterCallback(host.document, Counts::onEvent, &counts));
  onSmallStack([&] {
    for (const char* letter = work.script; *letter; ++letter) take(*letter, tree, top, counts);
  });
  EXPECT_EQ(work.freedEvents * count + work.freedFixed, counts.events[ARB_EVENT_NODE_FREED]);
  EXPECT_EQ(std::string(work.script).find('w') == std::string::npos ? 0 : count, counts.starts);
  EXPECT_EQ(work.gone, elements == liveElements());
  onSmallStack([&] { host.destroy(); });
  EXPECT_EQ(elements, liveElements());
}

TEST(DeepTree, EveryWalkInConstantStack) {
  const Work works[] = {{"destroyed while loose", 0, "x", 0, 1, true},
                        {"attached and destroyed with the document", 0, "a", 0, 0, false},
                        {"tree destroyed by itself", 0, "at", 0, 1, true},
                        {"completed, walked, released by producer then consumer", 0, "adwpc", 1, 0, true},
                        {"completed, released by consumer then producer", 0, "adcp", 1, 0, true},
                        {"released through the child document", 0, "af", 1, 0, true},
                        {"no consumer, released by the producer", 1, "adp", 1, 0, true}};
  for (const Work& work : works) {
    for (const bool deep : {true, false}) inShape(work, deep);
  }
}

TEST(DeepTree, OneReleaseFreesAMillionAncestors) {
  const Work works[] = {{"the consumer's release", 0, "apC", 1, 0, true},
                        {"the producer's release", 0, "acP", 1, 0, true},
                        {"the producer's release without a consumer", 1, "aP", 1, 0, true},
                        {"releases below a top that is linked to nothing", 0, "dLx", 1, 0, true}};
  for (const Work& work : works) inShape(work, true);
}

}  // namespace
}  // namespace arbtree::test
