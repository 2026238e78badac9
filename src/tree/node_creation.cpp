// Making nodes through the tree's factories, and binding them to their cells.
#include "document/events.h"
#include "nodetypes/builtin_kinds.h"
#include "nodetypes/factory_table.h"
#include "tree/cell_pool.h"
#include "tree/growing_array.h"
#include "tree/node.h"
#include "tree/pending_refs.h"

namespace arbtree {
namespace {

constexpr std::uint32_t kFirstExternalRefs = 256;

bool reserveExternalRef(ArbTree& tree) {
  return reserveOne(tree.externalRefCells, tree.externalRefCapacity, tree.externalRefCount, kFirstExternalRefs);
}

[[gnu::noinline]] ArbNode* makeForeignRecord(ArbTree& tree, std::uint32_t elementId) {
  const FactoryEntry* const factory = findFactory(tree, ARB_ELEMENT_NAMESPACE(elementId));
  ArbNode* node = nullptr;
  if (factory) factory->create(&tree, elementId, &node);
  return node;
}

// Null when no factory serves the namespace, or the one that does makes no node.
inline ArbNode* makeRecord(ArbTree& tree, std::uint32_t elementId) {
  if (ARB_ELEMENT_NAMESPACE(elementId) == ARB_NAMESPACE_BUILTIN) return makeBuiltinNode(tree, elementId);
  return makeForeignRecord(tree, elementId);
}

[[gnu::noinline]] void destroyRecord(ArbTree& tree, std::uint32_t elementId, ArbNode& node) {
  node.tree = &tree;
  findFactory(tree, ARB_ELEMENT_NAMESPACE(elementId))->destroy(&node);
}

void join(ArbTree& tree, ArbNode& node, ArbNodeRef& cell) {
  cell = {ARB_REF_NODE, reinterpret_cast<std::uintptr_t>(&node)};
  node.tree = &tree;
  node.cell = &cell;
  ++documentOf(tree).chunkNodes;
}

// A cell that a reference made ahead brings the number or the ID string that it promised.
void joinReferred(ArbTree& tree, ArbNode& node, ArbNodeRef& cell) {
  const ArbNodeRef promised = cell;
  node.number =
      promised.state == ARB_REF_FLOATING ? static_cast<std::uint32_t>(promised.value) : ++documentOf(tree).nodeCounter;
  node.idString = promised.state == ARB_REF_NAMED ? reinterpret_cast<ArbString*>(promised.value) : nullptr;
  join(tree, node, cell);
  removePendingRef(tree, &cell);
}

// All that can fail comes before the first change that outlives the call.
inline ArbStatus createNode(ArbTree& tree, std::uint32_t elementId, ArbNode** out) {
  if (isProducerDone(tree)) return ARB_ERR_LOCKED;
  ArbNode* const node = makeRecord(tree, elementId);
  if (!node) return ARB_ERR_NOTFOUND;
  ArbNodeRef* const cell = takeCell(tree);
  if (!cell) [[unlikely]] {
    destroyRecord(tree, elementId, *node);
    return ARB_ERR_NOMEMORY;
  }
  node->number = ++documentOf(tree).nodeCounter;
  node->idString = nullptr;
  join(tree, *node, *cell);
  *out = node;
  return ARB_OK;
}

ArbStatus createReferredNode(ArbTree& tree, std::uint32_t elementId, ArbNodeRef& reference, ArbNode** out) {
  if (isProducerDone(tree)) return ARB_ERR_LOCKED;
  fetchPendingRef(tree, &reference);
  ArbNode* const node = makeRecord(tree, elementId);
  if (!node) return ARB_ERR_NOTFOUND;
  joinReferred(tree, *node, reference);
  *out = node;
  return ARB_OK;
}

ArbStatus createExternalReference(ArbTree& tree, ArbNodeRef* reference, ArbNode** out) {
  if (isProducerDone(tree)) return ARB_ERR_LOCKED;
  if (!reserveExternalRef(tree)) return ARB_ERR_NOMEMORY;
  const ArbStatus status = reference ? createReferredNode(tree, ARB_ELEM_EXTERNAL_REFERENCE, *reference, out)
                                     : createNode(tree, ARB_ELEM_EXTERNAL_REFERENCE, out);
  if (status == ARB_OK) tree.externalRefCells[tree.externalRefCount++] = (*out)->cell;
  return status;
}

[[gnu::noinline]] ArbStatus createSpecialNode(ArbTree& tree, std::uint32_t elementId, ArbNodeRef* reference,
                                              ArbNode** out) {
  if (elementId == ARB_ELEM_EXTERNAL_REFERENCE) return createExternalReference(tree, reference, out);
  return createReferredNode(tree, elementId, *reference, out);
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

[[gnu::flatten]] ArbStatus ARB_CALL ArbTreeCreateNode(ArbTree* tree, uint32_t elementId, ArbNodeRef* cell,
                                                      ArbNode** node) {
  if (!tree || !node) return ARB_ERR_BADARG;
  const bool special = cell || elementId == ARB_ELEM_EXTERNAL_REFERENCE;
  const ArbStatus status =
      special ? createSpecialNode(*tree, elementId, cell, node) : createNode(*tree, elementId, node);
  raiseEvent(documentOf(*tree), ARB_EVENT_NODE_CREATED, *node);
  return status;
}
