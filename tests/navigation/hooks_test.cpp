// The table of producer node hooks: order, growth, what each event calls, snapshots, and when it closes.
#include <algorithm>
#include <random>
#include <utility>
#include <vector>

#include "support/host.h"
#include "support/seed.h"
#include "tree/tree.h"

namespace arbtree::test {
namespace {

using Calls = std::vector<std::pair<std::uint32_t, std::uintptr_t>>;  // what the hook returned, what it was given
struct Hook {
  Calls* calls;
  std::uint32_t result;
};
std::uint32_t ARB_CALL onHook(std::uintptr_t argument, void* context) {
  const auto& hook = *static_cast<const Hook*>(context);
  hook.calls->emplace_back(hook.result, argument);
  return hook.result;
}

struct Hooks : TreeTest {
  ArbStatus set(std::uint32_t event, std::uint32_t id, Hook& hook) {
    return ArbTreeSetProducerNodeHook(tree, event, id, onHook, &hook);
  }
  Calls calls;
};

// The hooks of a table in order of registration; a call is a pass over all of them.
struct PlainTable {
  struct Entry {
    std::uint32_t event, id;
    const Hook* hook;
  };
  std::vector<Entry> entries = {};
  std::uint32_t capacity = 0;

  void add(const Entry& entry) {
    if (entries.size() == capacity) capacity = capacity ? 2 * capacity : 128;
    entries.push_back(entry);
  }
  ArbStatus call(std::uint32_t event, std::uint32_t id, ArbNode* node, std::uint32_t* result, Calls& calls) const {
    const bool asks = event == ARB_HOOK_QUERY;
    const bool takesNode =
        event == ARB_HOOK_NODE || event == ARB_HOOK_ATTRIBUTES_DONE || event == ARB_HOOK_PRODUCER_RELEASE;
    if (takesNode && !node) return ARB_ERR_BADARG;
    for (const Entry& entry : entries) {
      if (entry.event != event || entry.id != id || !(asks || takesNode)) continue;
      if (asks && !result) return ARB_ERR_BADARG;
      calls.emplace_back(entry.hook->result, asks ? id : reinterpret_cast<std::uintptr_t>(node));
      if (asks) *result = entry.hook->result;
    }
    return ARB_OK;
  }
};

TEST_F(Hooks, AnyCallsAgreeWithAPlainTable) {
  std::mt19937 random(testSeed());
  const auto below = [&](std::size_t count) { return static_cast<std::uint32_t>(random() % count); };
  Hook hooks[] = {{&calls, 10}, {&calls, 20}, {&calls, 30}};
  const std::uint32_t ids[] = {0, 7, 8, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
  PlainTable table, kept;
  ArbSavedHooks* saved = nullptr;
  std::uint32_t largest = 0;
  for (int i = 0; i < 20'000; ++i) {
    const std::uint32_t event = below(6);  // the first and the last are never raised for anybody
    const std::uint32_t id = ids[below(std::size(ids))];
    const std::uint32_t choice = below(600);
    if (choice == 0) {
      ok(ArbTreeClearProducerNodeHooks(tree));
      table = {};
    } else if (choice == 1 && !saved) {
      ok(ArbTreeSaveProducerNodeHooks(tree, &saved));
      kept = {table.entries, static_cast<std::uint32_t>(table.entries.size())};
    } else if (choice < 4 && saved) {
      ok(ArbTreeRestoreProducerNodeHooks(tree, std::exchange(saved, nullptr)));
      table = kept;
    } else if (choice % 2) {
      Hook& hook = hooks[below(std::size(hooks))];
      ok(set(event, id, hook));
      table.add({event, id, &hook});
    } else {
      ArbNode* const node = below(4) ? root : nullptr;
      std::uint32_t result = 99, expected = 99;
      Calls expectedCalls;
      const bool asked = below(4) != 0;
      ASSERT_EQ(table.call(event, id, node, asked ? &expected : nullptr, expectedCalls),
                ArbTreeCallProducerNodeHook(tree, event, id, node, asked ? &result : nullptr));
      ASSERT_EQ(expectedCalls, std::exchange(calls, {}));
      ASSERT_EQ(expected, result);
    }
    ASSERT_EQ(table.entries.size(), tree->hookCount);
    ASSERT_EQ(table.capacity, tree->hookCapacity);
    largest = std::max(largest, tree->hookCount);
  }
  EXPECT_LT(256u, largest);
  if (saved) ok(ArbTreeRestoreProducerNodeHooks(tree, saved));
}

TEST_F(Hooks, RegistrationEndsWithTheProducerAndTheTableWithItsRelease) {
  Hook a = {&calls, 0};
  ok(set(ARB_HOOK_PRODUCER_RELEASE, ARB_ELEM_ROOT, a));
  ok(ArbForestChildProducerDone(asChild(tree)));
  EXPECT_EQ(ARB_ERR_LOCKED, set(ARB_HOOK_NODE, 7, a));
  ok(ArbTreeCallProducerNodeHook(tree, ARB_HOOK_PRODUCER_RELEASE, ARB_ELEM_ROOT, root, nullptr));
  EXPECT_EQ(1u, std::exchange(calls, {}).size());
  ok(ArbForestChildProducerRelease(asChild(tree)));
  EXPECT_TRUE(root->flags & ARB_NODE_PRODUCER_RELEASED);
  EXPECT_EQ(Calls{}, calls) << "the hooks are cleared before the nodes are released";
  EXPECT_EQ(0u, tree->hookCount);
  EXPECT_EQ(ARB_ERR_LOCKED, set(ARB_HOOK_NODE, 7, a));
}

}  // namespace
}  // namespace arbtree::test
