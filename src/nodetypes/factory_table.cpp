#include "nodetypes/factory_table.h"

namespace arbtree {
namespace {

constexpr std::uint16_t kInitialDefaultNamespace = 1;

// The entry that serves the namespace already, else the first free one, else null.
FactoryEntry* entryFor(ArbTree& tree, std::uint16_t elementNamespace) {
  for (FactoryEntry& entry : tree.factories) {
    if (!entry.create) {
      ++tree.factoryCount;
      return &entry;
    }
    if (entry.elementNamespace == elementNamespace) return &entry;
  }
  return nullptr;
}

// What the two look-up calls share; `store` takes the entry found, or null before a scan.
template <typename Store>
ArbStatus lookUp(ArbTree& tree, std::uint16_t elementNamespace, Store store) {
  const FactoryEntry* entry = findKnownFactory(tree, elementNamespace);
  if (!entry) {
    store(nullptr);
    entry = scanFactories(tree, elementNamespace);
    if (!entry) return ARB_ERR_NOTFOUND;
  }
  store(entry);
  return ARB_OK;
}

}  // namespace

[[gnu::noinline]] const FactoryEntry* scanFactories(ArbTree& tree, std::uint32_t elementNamespace) {
  for (const FactoryEntry& entry : tree.factories) {
    if (!entry.create) return nullptr;
    if (entry.elementNamespace != elementNamespace) continue;
    tree.lastFactory = entry;
    return &tree.lastFactory;
  }
  return nullptr;
}

}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbTreeAddNodeFactory(ArbTree* tree, uint32_t elementNamespace) {
  if (!tree) return ARB_ERR_BADARG;
  if (isProducerDone(*tree)) return ARB_ERR_LOCKED;
  const auto number = static_cast<std::uint16_t>(elementNamespace);
  if (number == ARB_NAMESPACE_BUILTIN) return ARB_ERR_NAMESPACE;
  const ElemDefsHandle definitions = documentOf(*tree).elemDefs;
  FactoryEntry found = {number, nullptr, nullptr};
  const ArbStatus status = ElemDefsGetNodeFactory(definitions, elementNamespace, &found.create, &found.destroy);
  if (status != ARB_OK) return status;
  // A full table is not reported here: nodes of the namespace then cannot be made.
  if (FactoryEntry* const entry = entryFor(*tree, number)) *entry = found;
  std::uint32_t count = 0;
  return ElemDefsGetElementCount(definitions, elementNamespace, &count);
}

ArbStatus ARB_CALL ArbTreeGetNodeFactory(ArbTree* tree, uint16_t elementNamespace, ArbNodeFactory* factory) {
  if (!tree) return ARB_ERR_BADARG;
  return lookUp(*tree, elementNamespace, [&](const FactoryEntry* entry) {
    if (factory) *factory = entry ? entry->create : nullptr;
  });
}

ArbStatus ARB_CALL ArbTreeGetNodeDestroyer(ArbTree* tree, uint16_t elementNamespace, ArbNodeDestroyer* destroyer) {
  if (!tree) return ARB_ERR_BADARG;
  return lookUp(*tree, elementNamespace, [&](const FactoryEntry* entry) {
    if (destroyer) *destroyer = entry ? entry->destroy : nullptr;
  });
}

ArbStatus ARB_CALL ArbTreeSetDefaultNamespace(ArbTree* tree, uint32_t elementNamespace) {
  if (!tree) return ARB_ERR_BADARG;
  if (isProducerDone(*tree) || tree->defaultNamespace != kInitialDefaultNamespace) return ARB_ERR_LOCKED;
  const ArbStatus status = ArbTreeAddNodeFactory(tree, elementNamespace);
  if (status == ARB_OK) tree->defaultNamespace = static_cast<std::uint16_t>(elementNamespace);
  return status;
}
