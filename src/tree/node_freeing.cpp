// Freeing without recursion.
//
// Settling a node has two halves. Detaching takes it out of its list and applies the free rule to its parent, which may
// go in turn and is then freed completely before the node's own record is: on a chain of released ancestors the halves
// nest like brackets,
//
//     detach leaf, [ event parent, detach parent, [ event grandparent, ... ], destroy parent ], destroy leaf
//
// so the climb has to find its way back down. It turns the parent link of each node it leaves into a link to the child
// it came from, and turns it back before the node is destroyed.
#include "tree/node_freeing.h"

#include "document/events.h"
#include "nodetypes/builtin_kinds.h"
#include "nodetypes/factory_table.h"
#include "tree/cell_pool.h"
#include "tree/metadata.h"
#include "tree/node.h"

namespace arbtree {
namespace {

// Moving children between nodes leaves the counters of freed children behind, so a node whose counters say that all its
// children are gone may still have one in its list; that one keeps it.
bool hasChildren(const ArbNode& node) {
  if (hasLiveChildren(node)) return true;
  if (!node.firstChildCell) [[likely]]
    return false;
  return firstChildOf(node) != nullptr;
}

bool isLastOfOpenList(const ArbNode& node, const ArbNode* parent) {
  return parent && parent->lastChildCell == node.cell && !has(*parent, ARB_NODE_CHILDREN_DONE);
}

bool isKept(const ArbNode& node, const ArbNode* parent) {
  return hasChildren(node) || hasMark(node, kIsRoot) || isLastOfOpenList(node, parent);
}

bool freeRuleHolds(const ArbNode& node) {
  if (hasLiveChildren(node)) return false;
  return isReleasedByAll(node) && !isKept(node, parentOf(node));
}

bool isBeingFreed(const ArbNode& node) { return hasMark(node, ARB_NODE_FREEING); }

void markFreeing(ArbNode& node) { giveMark(node, ARB_NODE_FREEING); }

void unlinkFromSiblings(ArbNode& node) {
  ArbNode* const next = nextSiblingOf(node);
  ArbNode* previous = nullptr;
  if (node.prevSiblingCell) [[unlikely]]  // nodes of a stream go from the first on
    previous = prevSiblingOf(node);
  if (previous) [[unlikely]]
    previous->nextSiblingCell = cellOf(next);
  if (next) [[likely]]
    next->prevSiblingCell = cellOf(previous);
}

void unlinkFromParent(ArbNode& node, ArbNode& parent) {
  ++parent.freedChildCount;
  if (parent.firstChildCell == node.cell) [[likely]]
    parent.firstChildCell = node.nextSiblingCell;
  if (parent.lastChildCell == node.cell) parent.lastChildCell = node.prevSiblingCell;
}

// First half: out of its list. Gives the parent when it has to be freed now.
inline ArbNode* detach(ArbNode& node, ArbNode* parent) {
  unlinkFromSiblings(node);
  if (!parent) return nullptr;
  unlinkFromParent(node, *parent);
  if (freeRuleHolds(*parent) && !isBeingFreed(*parent)) [[unlikely]]
    return parent;
  return nullptr;
}

// The cell tells from now on which node it was; whether it returns to the pool is up to those who may refer to it.
void settleCell(ArbNode& node) {
  ArbNodeRef* const cell = node.cell;
  if (!cell) return;
  if (node.idString) [[unlikely]] {
    *cell = {ARB_REF_FREED_ID, reinterpret_cast<std::uintptr_t>(node.idString)};
  } else {
    *cell = {ARB_REF_FREED, node.number};
  }
  const bool kept = has(node, ARB_NODE_HAS_ID) || hasMark(node, ARB_NODE_SEPARATE_STREAM | kOnKeptCell);
  if (kept) return;
  // The cell's next node is not the one that the string names.
  if (node.idString && node.idString->boundRef == cell) node.idString->boundRef = nullptr;
  giveBackCell(*node.tree, cell);
}

inline ArbStatus destroyRecord(ArbNode& node) {
  if (recycleBuiltinNode(*node.tree, node)) return ARB_OK;
  const FactoryEntry* const entry = findFactory(*node.tree, ARB_ELEMENT_NAMESPACE(elementIdOf(node)));
  if (!entry) return ARB_ERR_NOTFOUND;
  entry->destroy(&node);
  return ARB_OK;
}

// Second half: the cell, the metadata and the record.
ArbStatus destroy(ArbNode& node) {
  settleCell(node);
  metadata::clear(node.metadata);
  return destroyRecord(node);
}

// Settles the ancestors that go because of a node that has been detached, then the node.
[[gnu::noinline]] ArbStatus settleWithAncestors(ArbNode& node, ArbNode* parent) {
  ArbNode* top = &node;
  ArbNode* below = nullptr;
  for (; parent; parent = detach(*top, parentOf(*top))) {
    markFreeing(*parent);
    raiseEvent(documentOf(*parent), ARB_EVENT_NODE_FREED, parent);
    top->parentCell = cellOf(below);  // the way back
    below = top;
    top = parent;
  }
  for (;;) {
    ArbNodeRef* const topCell = top->cell;
    const ArbStatus status = destroy(*top);
    if (!below) return status;
    top = below;
    below = parentOf(*top);
    top->parentCell = topCell;
  }
}

// Settles a node whose children are all freed.
ArbStatus settle(ArbNode& node, ArbNode* parent) {
  if (ArbNode* const freed = detach(node, parent)) return settleWithAncestors(node, freed);
  return destroy(node);
}

// Settles all descendants, children before their parents. Every node on the way down is marked, so that no free rule
// reaches it.
[[gnu::noinline]] void settleDescendants(ArbNode& start) {
  ArbNode* node = &start;
  while (firstChildOf(start)) {
    markFreeing(*node);
    if (ArbNode* const child = firstChildOf(*node)) {
      node = child;
      continue;
    }
    ArbNode* const parent = parentOf(*node);
    settle(*node, parent);
    node = parent;
  }
}

// What nearly every node of a stream is when it goes: a leaf with nothing attached to it, of which nobody is told.
bool isPlainLeaf(const ArbNode& node) {
  const bool bare = !node.firstChildCell && !node.idString && !node.metadata;
  return bare && node.flags2 == 0 && !has(node, ARB_NODE_HAS_ID) && documentOf(node).callbackCount == 0;
}

}  // namespace

[[gnu::noinline]] ArbStatus freeNode(ArbNode& node) {
  if (isBeingFreed(node)) return ARB_OK;
  markFreeing(node);
  raiseEvent(documentOf(node), ARB_EVENT_NODE_FREED, &node);
  if (node.firstChildCell) [[unlikely]]
    settleDescendants(node);
  return settle(node, parentOf(node));
}

// The likely ways marked here and in what it calls are those of a stream that is consumed from its front, which then
// runs straight through.
[[gnu::flatten]] ArbStatus freeUnlessKept(ArbNode& node) {
  ArbNode* const parent = parentOf(node);
  if (!parent || !isPlainLeaf(node)) [[unlikely]] {
    if (!isKept(node, parent)) freeNode(node);
    return ARB_OK;
  }
  if (hasLiveChildren(node) || isLastOfOpenList(node, parent)) return ARB_OK;
  markFreeing(node);
  if (ArbNode* const freed = detach(node, parent)) [[unlikely]] {
    settleWithAncestors(node, freed);
    return ARB_OK;
  }
  *node.cell = {ARB_REF_FREED, node.number};
  giveBackCell(*node.tree, node.cell);
  destroyRecord(node);
  return ARB_OK;
}

}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbNodeDestroy(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  if (has(*node, ARB_NODE_IN_TREE)) return ARB_ERR_ATTACHED;
  return freeNode(*node);
}
