// The elemdefs stand-in: one table of namespaces for the process, and the set of live contexts.
//
// A context holds nothing: it says which documents are alive, and a call with any other value is refused.
#include "arbtree/elemdefs.h"

#include <array>
#include <mutex>

#include "common/answer.h"
#include "common/export.h"
#include "common/handle_table.h"
#include "common/immortal.h"

namespace {

using arbtree::standins::HandleTable;

constexpr std::uint32_t kNamespaces = 4096;  // as many as an element id can tell apart

struct Namespace {
  ArbNodeFactory factory;  // null: free
  ArbNodeDestroyer destroyer;
  std::uint32_t elementCount;
};

struct Context {};

struct Registry {
  std::mutex mutex;
  std::array<Namespace, kNamespaces> namespaces{};
  HandleTable<Context> contexts{0x454C444Fu};

  // The entry that a lookup with the producer's whole value sees, or null.
  const Namespace* findNamespace(std::uint32_t elementNamespace) const {
    const std::uint32_t number = elementNamespace & 0xFFFFu;
    if (number >= kNamespaces || !namespaces[number].factory) return nullptr;
    return &namespaces[number];
  }

  bool isLive(ElemDefsHandle context) const {
    const auto value = reinterpret_cast<std::uintptr_t>(context);
    return value <= 0xFFFFFFFFu && contexts.find(static_cast<std::uint32_t>(value));
  }

  // The status of a lookup; on ARB_OK *entry is the namespace.
  std::uint32_t look(ElemDefsHandle context, std::uint32_t elementNamespace, const Namespace** entry) const {
    if (!isLive(context)) return ELEMDEFS_ERR_CONTEXT;
    *entry = findNamespace(elementNamespace);
    return *entry ? ARB_OK : ELEMDEFS_ERR_UNKNOWN_NAMESPACE;
  }
};

Registry& registry() { return arbtree::standins::immortal<Registry>(); }

}  // namespace

STANDIN_EXPORT std::uint32_t ARB_CALL ElemDefsRegisterNamespace(std::uint32_t elementNamespace, ArbNodeFactory factory,
                                                                ArbNodeDestroyer destroyer,
                                                                std::uint32_t elementCount) {
  if (!factory || !destroyer) return ARB_ERR_BADARG;
  if (elementNamespace == ARB_NAMESPACE_BUILTIN) return ARB_ERR_NAMESPACE;
  if (elementNamespace >= kNamespaces) return ELEMDEFS_ERR_NUMBER;
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  Namespace& entry = all.namespaces[elementNamespace];
  if (entry.factory) return ELEMDEFS_ERR_DUPLICATE;
  entry = {factory, destroyer, elementCount};
  return ARB_OK;
}

STANDIN_EXPORT std::uint32_t ARB_CALL ElemDefsUnregisterNamespace(std::uint32_t elementNamespace) {
  if (elementNamespace >= kNamespaces) return ELEMDEFS_ERR_UNKNOWN_NAMESPACE;
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  Namespace& entry = all.namespaces[elementNamespace];
  if (!entry.factory) return ELEMDEFS_ERR_UNKNOWN_NAMESPACE;
  entry = {};
  return ARB_OK;
}

STANDIN_EXPORT std::uint32_t ARB_CALL ElemDefsCreate(ElemDefsHandle* context) {
  if (!context) return ARB_ERR_BADARG;
  Registry& all = registry();
  return arbtree::standins::answer([&] {
    const std::lock_guard lock(all.mutex);
    const std::uintptr_t handle = all.contexts.insert({});
    *context = reinterpret_cast<ElemDefsHandle>(handle);
    return ARB_OK;
  });
}

STANDIN_EXPORT std::uint32_t ARB_CALL ElemDefsDestroy(ElemDefsHandle context) {
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  if (!all.isLive(context)) return ELEMDEFS_ERR_CONTEXT;
  all.contexts.erase(static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(context)));
  return ARB_OK;
}

STANDIN_EXPORT std::uint32_t ARB_CALL ElemDefsGetNodeFactory(ElemDefsHandle context, std::uint32_t elementNamespace,
                                                             ArbNodeFactory* factory, ArbNodeDestroyer* destroyer) {
  if (!factory || !destroyer) return ARB_ERR_BADARG;
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  const Namespace* entry;
  const std::uint32_t status = all.look(context, elementNamespace, &entry);
  if (status != ARB_OK) return status;
  *factory = entry->factory;
  *destroyer = entry->destroyer;
  return ARB_OK;
}

STANDIN_EXPORT std::uint32_t ARB_CALL ElemDefsGetElementCount(ElemDefsHandle context, std::uint32_t elementNamespace,
                                                              std::uint32_t* count) {
  if (!count) return ARB_ERR_BADARG;
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  const Namespace* entry;
  const std::uint32_t status = all.look(context, elementNamespace, &entry);
  if (status != ARB_OK) return status;
  *count = entry->elementCount;
  return ARB_OK;
}
