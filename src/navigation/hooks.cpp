// A tree's producer node hooks: sorted by element id, equal ids in order of registration.
#include <algorithm>

#include "platform/heap.h"
#include "tree/growing_array.h"
#include "tree/tree.h"

// A snapshot, the caller's until it is given back. Its entries become the tree's table on restoring.
struct ArbSavedHooks {
  arbtree::ProducerNodeHook* entries;
  std::uint32_t capacity;
  std::uint32_t count;
};

namespace arbtree {
namespace {

constexpr std::uint32_t kFirstHooks = 128;

bool idBefore(std::uint32_t elementId, const ProducerNodeHook& hook) { return elementId < hook.elementId; }

// The first hook of an element id, or of the next greater one, by index: a hook may grow the table under its caller.
std::uint32_t firstHookOf(const ArbTree& tree, std::uint32_t elementId) {
  const auto* const found =
      std::lower_bound(tree.hooks, tree.hooks + tree.hookCount, elementId,
                       [](const ProducerNodeHook& hook, std::uint32_t id) { return hook.elementId < id; });
  return static_cast<std::uint32_t>(found - tree.hooks);
}

bool takesNode(std::uint32_t event) {
  return event == ARB_HOOK_NODE || event == ARB_HOOK_ATTRIBUTES_DONE || event == ARB_HOOK_PRODUCER_RELEASE;
}

ArbStatus callHook(const ProducerNodeHook& hook, ArbNode* node, std::uint32_t* result) {
  if (hook.event == ARB_HOOK_QUERY) {
    if (!result) return ARB_ERR_BADARG;
    *result = hook.function(hook.elementId, hook.context);
  } else if (takesNode(hook.event)) {
    hook.function(reinterpret_cast<std::uintptr_t>(node), hook.context);
  }
  return ARB_OK;
}

void replaceHooks(ArbTree& tree, ProducerNodeHook* entries, std::uint32_t capacity, std::uint32_t count) {
  heap::release(tree.hooks);
  tree.hooks = entries;
  tree.hookCapacity = capacity;
  tree.hookCount = count;
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbTreeSetProducerNodeHook(ArbTree* tree, uint32_t event, uint32_t elementId,
                                              ArbProducerNodeHookFunction function, void* context) {
  if (!tree || !function) return ARB_ERR_BADARG;
  if (isProducerDone(*tree)) return ARB_ERR_LOCKED;
  if (!reserveOne(tree->hooks, tree->hookCapacity, tree->hookCount, kFirstHooks)) return ARB_ERR_NOMEMORY;
  ProducerNodeHook* const end = tree->hooks + tree->hookCount;
  ProducerNodeHook* const place = std::upper_bound(tree->hooks, end, elementId, idBefore);
  std::copy_backward(place, end, end + 1);
  *place = {event, elementId, function, context};
  ++tree->hookCount;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbTreeCallProducerNodeHook(ArbTree* tree, uint32_t event, uint32_t elementId, ArbNode* node,
                                               uint32_t* result) {
  if (!tree || (!node && takesNode(event))) return ARB_ERR_BADARG;
  if (tree->hookCount == 0) return ARB_OK;
  ArbStatus status = ARB_OK;
  for (std::uint32_t i = firstHookOf(*tree, elementId); i < tree->hookCount; ++i) {
    const ProducerNodeHook hook = tree->hooks[i];
    if (hook.elementId != elementId) break;
    if (hook.event != event) continue;
    if (const ArbStatus noted = callHook(hook, node, result)) status = noted;
  }
  return status;
}

ArbStatus ARB_CALL ArbTreeSaveProducerNodeHooks(ArbTree* tree, ArbSavedHooks** snapshot) {
  if (!tree || !snapshot) return ARB_ERR_BADARG;
  *snapshot = nullptr;
  auto* const saved = heap::allocateRecord<ArbSavedHooks>();
  auto* const entries = heap::allocateArray<ProducerNodeHook>(tree->hookCount);
  if (!saved || !entries) {
    heap::release(saved);
    heap::release(entries);
    return ARB_ERR_NOMEMORY;
  }
  std::copy_n(tree->hooks, tree->hookCount, entries);
  *saved = {entries, tree->hookCount, tree->hookCount};
  *snapshot = saved;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbTreeRestoreProducerNodeHooks(ArbTree* tree, ArbSavedHooks* snapshot) {
  if (!tree || !snapshot) return ARB_ERR_BADARG;
  replaceHooks(*tree, snapshot->entries, snapshot->capacity, snapshot->count);
  heap::release(snapshot, sizeof *snapshot);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbTreeClearProducerNodeHooks(ArbTree* tree) {
  if (!tree) return ARB_ERR_BADARG;
  replaceHooks(*tree, nullptr, 0, 0);
  return ARB_OK;
}
