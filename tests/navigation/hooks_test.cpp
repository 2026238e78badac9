// The table of producer node hooks: order, growth, what each event calls, snapshots, and when it closes.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/host.h"
#include "support/seed.h"
#include "tree/tree.h"

namespace arbtree::test {
namespace {

struct Hook {
  Lines* lines;
  std::string name;
  std::uint32_t result;
};
std::uint32_t ARB_CALL onHook(std::uintptr_t argument, void* context) {
  const auto& hook = *static_cast<const Hook*>(context);
  hook.lines->push_back(joined({hook.name, " ", std::to_string(argument)}));
  return hook.result;
}

class Hooks : public testing::Test {
 protected:
  ArbStatus set(std::uint32_t event, std::uint32_t id, Hook& hook) {
    return ArbTreeSetProducerNodeHook(tree, event, id, onHook, &hook);
  }
  ArbStatus raise(std::uint32_t event, std::uint32_t id, std::uint32_t* result = nullptr) {
    return ArbTreeCallProducerNodeHook(tree, event, id, node, result);
  }
  Lines take() { return std::exchange(lines, {}); }
  Hook hook(const char* name, std::uint32_t result = 0) { return {&lines, name, result}; }

  Host host;
  ArbTree* const tree = host.makeTree();
  ArbNode* const node = rootOf(tree);
  Lines lines;
  // What hooks of these names write when they get the node.
  Lines withNode(std::initializer_list<const char*> names) const {
    Lines expected;
    const std::string argument = std::to_string(reinterpret_cast<std::uintptr_t>(node));
    for (const char* const name : names) expected.push_back(joined({name, " ", argument}));
    return expected;
  }
};

TEST_F(Hooks, SortedByIdAndInOrderOfRegistration) {
  Hook a = hook("a"), b = hook("b"), c = hook("c"), d = hook("d"), e = hook("e");
  ok(set(ARB_HOOK_NODE, 7, a));
  ok(set(ARB_HOOK_NODE, 3, b));
  ok(set(ARB_HOOK_NODE, 7, c));
  ok(set(ARB_HOOK_NODE, 5, d));
  ok(set(ARB_HOOK_NODE, 0x80000000, e));
  const std::uint32_t ids[] = {3, 5, 7, 7, 0x80000000};
  ASSERT_EQ(5u, tree->hookCount);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(ids[i], tree->hooks[i].elementId);
  ok(raise(ARB_HOOK_NODE, 7));
  EXPECT_EQ(withNode({"a", "c"}), take());
  ok(set(ARB_HOOK_NODE, 7, a));
  ok(raise(ARB_HOOK_NODE, 7));
  EXPECT_EQ(withNode({"a", "c", "a"}), take());
  for (const std::uint32_t id : {0u, 4u, 6u, 8u, 0xFFFFFFFFu}) ok(raise(ARB_HOOK_NODE, id));
  EXPECT_EQ(Lines{}, take());
}

TEST_F(Hooks, EachEventCallsItsOwn) {
  Hook query = hook("query", 10), again = hook("again", 20), onNode = hook("node", 30), attributes = hook("attributes"),
       release = hook("release"), other = hook("other");
  std::uint32_t result = 99;
  EXPECT_EQ(ARB_OK, raise(ARB_HOOK_QUERY, 7, &result)) << "an empty table";
  ok(set(ARB_HOOK_ATTRIBUTES_DONE, 7, attributes));
  ok(raise(ARB_HOOK_QUERY, 7, &result));
  EXPECT_EQ(ARB_OK, raise(ARB_HOOK_QUERY, 7)) << "no query hook, no result needed";
  EXPECT_EQ(99u, result);
  EXPECT_EQ(Lines{}, take());

  ok(set(ARB_HOOK_QUERY, 7, query));
  ok(set(ARB_HOOK_NODE, 7, onNode));
  ok(set(ARB_HOOK_PRODUCER_RELEASE, 7, release));
  ok(set(ARB_HOOK_QUERY, 7, again));
  ok(set(5, 7, other));
  ok(set(0, 7, other));
  ok(raise(ARB_HOOK_QUERY, 7, &result));
  EXPECT_EQ(20u, result);
  EXPECT_EQ((Lines{"query 7", "again 7"}), take());
  EXPECT_EQ(ARB_ERR_BADARG, raise(ARB_HOOK_QUERY, 7));
  EXPECT_EQ(Lines{}, take());
  EXPECT_EQ(ARB_OK, ArbTreeCallProducerNodeHook(tree, ARB_HOOK_QUERY, 7, nullptr, &result)) << "a query has no node";
  take();
  struct Row {
    std::uint32_t event;
    Lines lines;
  };
  for (const Row& row :
       {Row{ARB_HOOK_NODE, withNode({"node"})}, Row{ARB_HOOK_ATTRIBUTES_DONE, withNode({"attributes"})},
        Row{ARB_HOOK_PRODUCER_RELEASE, withNode({"release"})}, Row{5, {}}, Row{0, {}}}) {
    result = 99;
    ok(raise(row.event, 7, &result));
    EXPECT_EQ(row.lines, take());
    EXPECT_EQ(99u, result);
  }
}

TEST_F(Hooks, The129thDoublesTheTableAndAnyNumberIsFound) {
  std::mt19937 random(testSeed());
  Hook first = hook("first"), second = hook("second");
  std::vector<std::uint32_t> expected(40, 0);
  for (std::uint32_t i = 1; i <= 300; ++i) {
    const std::uint32_t id = static_cast<std::uint32_t>(random() % 40);
    ASSERT_EQ(ARB_OK, set(ARB_HOOK_NODE, id * 0x06000000u, i % 2 ? first : second));
    ++expected[id];
    EXPECT_EQ(i <= 128 ? 128u : i <= 256 ? 256u : 512u, tree->hookCapacity);
  }
  for (std::uint32_t id = 0; id < 40; ++id) {
    ok(raise(ARB_HOOK_NODE, id * 0x06000000u));
    EXPECT_EQ(expected[id], take().size());
  }
}

TEST_F(Hooks, ASnapshotBringsBackWhatWasThere) {
  Hook a = hook("a"), b = hook("b");
  ArbSavedHooks* saved = nullptr;
  ok(set(ARB_HOOK_NODE, 7, a));
  ok(ArbTreeSaveProducerNodeHooks(tree, &saved));
  ok(raise(ARB_HOOK_NODE, 7));
  EXPECT_EQ(withNode({"a"}), take()) << "a save changes nothing";
  ok(set(ARB_HOOK_NODE, 7, b));
  ok(set(ARB_HOOK_NODE, 8, b));
  ok(ArbTreeRestoreProducerNodeHooks(tree, saved));
  EXPECT_EQ(1u, tree->hookCount);
  EXPECT_EQ(1u, tree->hookCapacity);
  ok(raise(ARB_HOOK_NODE, 8));
  ok(raise(ARB_HOOK_NODE, 7));
  EXPECT_EQ(withNode({"a"}), take());
  ok(set(ARB_HOOK_NODE, 7, b));
  EXPECT_EQ(2u, tree->hookCapacity);
  ok(raise(ARB_HOOK_NODE, 7));
  EXPECT_EQ(withNode({"a", "b"}), take());

  // An empty table can be saved and restored, and a cleared one is empty.
  ok(ArbTreeClearProducerNodeHooks(tree));
  EXPECT_EQ(nullptr, tree->hooks);
  EXPECT_EQ(0u, tree->hookCapacity);
  ok(ArbTreeSaveProducerNodeHooks(tree, &saved));
  ok(set(ARB_HOOK_NODE, 7, b));
  ok(ArbTreeRestoreProducerNodeHooks(tree, saved));
  ok(raise(ARB_HOOK_NODE, 7));
  EXPECT_EQ(Lines{}, take());
  ok(set(ARB_HOOK_NODE, 7, a));
  ok(raise(ARB_HOOK_NODE, 7));
  EXPECT_EQ(withNode({"a"}), take());
}

TEST_F(Hooks, RegistrationEndsWithTheProducerAndTheTableWithItsRelease) {
  Hook a = hook("a");
  ok(set(ARB_HOOK_PRODUCER_RELEASE, ARB_ELEM_ROOT, a));
  ok(ArbForestChildProducerDone(asChild(tree)));
  EXPECT_EQ(ARB_ERR_LOCKED, set(ARB_HOOK_NODE, 7, a));
  ok(raise(ARB_HOOK_PRODUCER_RELEASE, ARB_ELEM_ROOT));
  EXPECT_EQ(1u, take().size());
  ok(ArbForestChildProducerRelease(asChild(tree)));
  EXPECT_TRUE(node->flags & ARB_NODE_PRODUCER_RELEASED);
  EXPECT_EQ(Lines{}, take()) << "the hooks are cleared before the nodes are released";
  EXPECT_EQ(0u, tree->hookCount);
  EXPECT_EQ(ARB_ERR_LOCKED, set(ARB_HOOK_NODE, 7, a));
}

}  // namespace
}  // namespace arbtree::test
