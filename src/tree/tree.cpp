// Creating and destroying trees, and asking for their root.
#include "tree/tree.h"

#include "childdocs/child_record.h"
#include "document/read_ahead.h"
#include "nodetypes/builtin_kinds.h"
#include "tree/cell_pool.h"
#include "tree/metadata.h"
#include "tree/node.h"
#include "tree/node_creation.h"
#include "tree/node_freeing.h"
#include "tree/pending_refs.h"

namespace arbtree {
namespace {

ArbStatus createRoot(ArbTree& tree) {
  ArbNode* root = nullptr;
  const ArbStatus status = createRootNode(tree, root);
  if (status == ARB_OK) tree.rootCell = root->cell;
  return status;
}

// A name that was bound to a cell of this tree is free to be bound again.
void unbindStrings(ArbTree& tree) {
  for (std::uint32_t i = 0; i < tree.boundStringCount; ++i) {
    ArbNodeRef*& boundRef = tree.boundStrings[i]->boundRef;
    if (boundRef && blockOf(tree, boundRef)) boundRef = nullptr;
  }
  heap::release(tree.boundStrings);
}

void destroyTables(ArbTree& tree) {
  unbindStrings(tree);
  destroyPendingRefs(tree);
  heap::release(tree.externalRefCells);
  ArbTreeClearProducerNodeHooks(&tree);
  destroyCells(tree);
  heap::release(tree.separateStreamCells);
  destroyBuiltinRecords(tree);
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbDocumentCreateTree(ArbDocument* document, const char16_t* nameTemplate, ArbTree** tree) {
  if (!document || !tree) return ARB_ERR_BADARG;
  auto* const created = heap::allocateRecord<ArbTree>();
  if (!created) return ARB_ERR_NOMEMORY;
  created->builtinFactory = {ARB_NAMESPACE_BUILTIN, createBuiltinNode, destroyBuiltinNode};
  created->defaultNamespace = 1;
  initChild(created->child, *document, ARB_CHILD_TREE, kTreeFormat, nameTemplate);
  *tree = created;
  const ArbStatus status = createRoot(*created);
  if (status != ARB_OK) {
    ArbTreeDestroy(created);
    *tree = nullptr;
  }
  return status;
}

// Nodes outside the root's subtree are not freed here; their records go with the host's or the heap's own end.
ArbStatus ARB_CALL ArbTreeDestroy(ArbTree* tree) {
  if (!tree) return ARB_ERR_BADARG;
  metadata::clear(tree->child.metadata);
  if (ArbNode* const root = resolve(tree->rootCell)) freeNode(*root);
  destroyTables(*tree);
  unlinkChild(tree->child);
  heap::release(tree, sizeof *tree);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbTreeQueryRootNode(ArbTree* tree, ArbNode** node) {
  if (!tree) return ARB_ERR_BADARG;
  if (isProducerOnly(documentOf(*tree))) return ARB_ERR_MODE;
  ArbNode* const root = resolve(tree->rootCell);
  if (!root) return ARB_ERR_NOTREADY;
  if (node) *node = root;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbTreeWaitRootNode(ArbTree* tree, ArbNode** node) {
  if (!tree) return ARB_ERR_BADARG;
  ArbDocument& document = documentOf(*tree);
  if (isProducerOnly(document)) return ARB_ERR_MODE;
  const ArbStatus status = waitUntil(document, [&] { return resolve(tree->rootCell) != nullptr; });
  if (node) *node = resolve(tree->rootCell);
  return status;
}
