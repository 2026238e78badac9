// Making nodes through the tree's factories, and binding them to their cells.
#include "document/events.h"
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

// A cell that a reference made ahead brings the number or the ID string that it promised.
void bind(ArbTree& tree, ArbNode& node, ArbNodeRef& cell, bool isReference) {
  const std::uint32_t state = isReference ? cell.state : std::uint32_t{ARB_REF_NODE};
  node.number = state == ARB_REF_FLOATING ? static_cast<std::uint32_t>(cell.value) : ++documentOf(tree).nodeCounter;
  node.idString = state == ARB_REF_NAMED ? reinterpret_cast<ArbString*>(cell.value) : nullptr;
  cell = {ARB_REF_NODE, reinterpret_cast<std::uintptr_t>(&node)};
  node.tree = &tree;
  node.cell = &cell;
}

// All that can fail comes before the first change that outlives the call.
ArbStatus createNode(ArbTree& tree, std::uint32_t elementId, ArbNodeRef* reference, ArbNode** out) {
  if (isProducerDone(tree)) return ARB_ERR_LOCKED;
  const FactoryEntry* const found = findFactory(tree, ARB_ELEMENT_NAMESPACE(elementId));
  if (!found) return ARB_ERR_NOTFOUND;
  const FactoryEntry entry = *found;  // the factory may make nodes of other namespaces
  const bool isExternalRef = elementId == ARB_ELEM_EXTERNAL_REFERENCE;
  if (isExternalRef && !reserveExternalRef(tree)) return ARB_ERR_NOMEMORY;
  ArbNode* node = nullptr;
  entry.create(&tree, elementId, &node);
  if (!node) return ARB_ERR_NOTFOUND;
  ArbNodeRef* const cell = reference ? reference : takeCell(tree);
  if (!cell) {
    node->tree = &tree;
    entry.destroy(node);
    return ARB_ERR_NOMEMORY;
  }
  bind(tree, *node, *cell, reference != nullptr);
  *out = node;
  if (reference) removePendingRef(tree, reference);
  if (isExternalRef) tree.externalRefCells[tree.externalRefCount++] = cell;
  ++documentOf(tree).chunkNodes;
  return ARB_OK;
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbTreeCreateNode(ArbTree* tree, uint32_t elementId, ArbNodeRef* cell, ArbNode** node) {
  if (!tree || !node) return ARB_ERR_BADARG;
  const ArbStatus status = createNode(*tree, elementId, cell, node);
  raiseEvent(documentOf(*tree), ARB_EVENT_NODE_CREATED, *node);
  return status;
}
