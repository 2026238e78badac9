#include "tree/node_creation.h"

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

bool isFreed(const ArbNodeRef& cell) { return cell.state == ARB_REF_FREED || cell.state == ARB_REF_FREED_ID; }

// A cell that a reference made ahead brings the number or the ID string that it promised.
void joinReferred(ArbTree& tree, ArbNode& node, CellBlock* block, ArbNodeRef& cell) {
  const ArbNodeRef promised = cell;
  node.number =
      promised.state == ARB_REF_FLOATING ? static_cast<std::uint32_t>(promised.value) : ++documentOf(tree).nodeCounter;
  node.idString = promised.state == ARB_REF_NAMED ? reinterpret_cast<ArbString*>(promised.value) : nullptr;
  if (isFreed(promised)) giveMark(node, kOnKeptCell);
  join(tree, node, cell);
  removePendingRef(tree, block, &cell);
}

// A new node in a cell that nobody referred to before.
inline void joinNew(ArbTree& tree, ArbNode& node, ArbNodeRef& cell) {
  node.number = ++documentOf(tree).nodeCounter;
  join(tree, node, cell);
}

// What nearly every call of a stream makes: a text node whose record and cell are at hand. No function is called and
// nothing can fail. Null, and nothing is changed, where something is not at hand.
inline ArbNode* makeTextAtHand(ArbTree& tree) {
  RecordCache& records = tree.recordCaches[kTextCache];
  if (isProducerDone(tree) || records.isEmpty()) [[unlikely]]
    return nullptr;
  ArbNodeRef* const cell = takeCellAtHand(tree);
  if (!cell) [[unlikely]]
    return nullptr;
  auto* const node = static_cast<ArbNode*>(records.takeAtHand<sizeof(ArbTextNode)>());
  node->size = sizeof(ArbTextNode);
  node->nodeType = &kBuiltinKinds[kTextKind].type;
  joinNew(tree, *node, *cell);
  return node;
}

// All that can fail comes before the first change that outlives the call.
[[gnu::always_inline]] inline ArbStatus makeNode(ArbTree& tree, std::uint32_t elementId, ArbNode*& made) {
  ArbNode* const node = makeRecord(tree, elementId);
  if (!node) return ARB_ERR_NOTFOUND;
  ArbNodeRef* const cell = takeCell(tree);
  if (!cell) [[unlikely]] {
    destroyRecord(tree, elementId, *node);
    return ARB_ERR_NOMEMORY;
  }
  node->idString = nullptr;
  joinNew(tree, *node, *cell);
  made = node;
  return ARB_OK;
}

[[gnu::noinline]] ArbStatus makeReferredNode(ArbTree& tree, std::uint32_t elementId, ArbNodeRef& reference,
                                             ArbNode*& made) {
  CellBlock* const block = fetchPendingRef(tree, &reference);
  ArbNode* const node = makeRecord(tree, elementId);
  if (!node) return ARB_ERR_NOTFOUND;
  joinReferred(tree, *node, block, reference);
  made = node;
  return ARB_OK;
}

[[gnu::noinline]] ArbStatus makeExternalReference(ArbTree& tree, ArbNodeRef* reference, ArbNode*& made) {
  if (!reserveExternalRef(tree)) return ARB_ERR_NOMEMORY;
  const ArbStatus status = reference ? makeReferredNode(tree, ARB_ELEM_EXTERNAL_REFERENCE, *reference, made)
                                     : makeNode(tree, ARB_ELEM_EXTERNAL_REFERENCE, made);
  if (status == ARB_OK) tree.externalRefCells[tree.externalRefCount++] = made->cell;
  return status;
}

ArbStatus makeAnyNode(ArbTree& tree, std::uint32_t elementId, ArbNodeRef* reference, ArbNode*& made) {
  if (isProducerDone(tree)) [[unlikely]]
    return ARB_ERR_LOCKED;
  if (elementId == ARB_ELEM_EXTERNAL_REFERENCE) [[unlikely]]
    return makeExternalReference(tree, reference, made);
  if (reference) [[unlikely]]
    return makeReferredNode(tree, elementId, *reference, made);
  return makeNode(tree, elementId, made);
}

}  // namespace

[[gnu::noinline]] ArbStatus createNode(ArbTree& tree, std::uint32_t elementId, ArbNodeRef* reference, ArbNode** out,
                                       ArbNode*& made) {
  const ArbStatus status = makeAnyNode(tree, elementId, reference, made);
  if (status == ARB_OK) *out = made;
  raiseEvent(documentOf(tree), ARB_EVENT_NODE_CREATED, *out);
  return status;
}

ArbStatus createRootNode(ArbTree& tree, ArbNode*& root) {
  const ArbStatus status = makeNode(tree, ARB_ELEM_ROOT, root);
  if (status == ARB_OK) giveMark(*root, kIsRoot);
  raiseEvent(documentOf(tree), ARB_EVENT_NODE_CREATED, root);
  return status;
}

}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbTreeCreateNode(ArbTree* tree, uint32_t elementId, ArbNodeRef* cell, ArbNode** node) {
  if (!tree || !node) return ARB_ERR_BADARG;
  if (elementId == ARB_ELEM_TEXT && !cell && documentOf(*tree).callbackCount == 0) {
    if (ArbNode* const text = makeTextAtHand(*tree)) {
      *node = text;
      return ARB_OK;
    }
  }
  ArbNode* made = nullptr;
  return createNode(*tree, elementId, cell, node, made);
}
