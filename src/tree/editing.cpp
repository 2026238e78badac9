// Linking nodes into child lists, and, in a producer-only document, rearranging them.
//
// Invariants that every call keeps: a linked node has a parentCell, but for the root; the children of a node run from
// firstChildCell along nextSiblingCell to lastChildCell, with prevSiblingCell pointing back; every ancestor of a node
// in the tree is in the tree, except below a node that was removed or that children were transferred to.
#include "tree/attach.h"

namespace arbtree {
namespace {

ArbStatus checkLinking(const ArbNode& node, const ArbNode& openList, const ArbNode& neighbour) {
  if (has(node, ARB_NODE_LINKED)) return ARB_ERR_ATTACHED;
  if (has(openList, ARB_NODE_CHILDREN_DONE)) return ARB_ERR_CLOSED;
  if (node.tree != neighbour.tree) return ARB_ERR_FOREIGN;
  return ARB_OK;
}

ArbStatus announceLinked(ArbNode& node, const ArbNode& connectedThrough) {
  return observe(node, [to = &connectedThrough, linked = &node](auto observers) {
    const NodeWatch watches[] = {NodeWatch(*to), NodeWatch(*linked)};
    raiseEvent(observers, ARB_EVENT_NODE_LINKED, *linked);
    const bool isStillLinked = watches[0].isAlive() && watches[1].isAlive() && has(*linked, ARB_NODE_LINKED);
    if (isObserved(observers) && !isStillLinked) return ArbStatus{ARB_OK};
    if (has(*to, ARB_NODE_IN_TREE)) notifyAttached(observers, *linked);
    return ArbStatus{ARB_OK};
  });
}

void linkLast(ArbNode& parent, ArbNode& child) {
  if (!parent.lastChildCell) {
    parent.firstChildCell = child.cell;
  } else {
    ArbNode* const last = lastChildOf(parent);
    if (last) last->nextSiblingCell = child.cell;
    child.prevSiblingCell = cellOf(last);
  }
  parent.lastChildCell = child.cell;
  give(child, ARB_NODE_LINKED);
  child.parentCell = parent.cell;
  ++parent.childCount;
}

void linkBefore(ArbNode& reference, ArbNode& parent, ArbNode& node) {
  ++parent.childCount;
  if (parent.firstChildCell == reference.cell) parent.firstChildCell = node.cell;
  node.parentCell = parent.cell;
  node.prevSiblingCell = reference.prevSiblingCell;
  give(node, ARB_NODE_LINKED);
  node.nextSiblingCell = reference.cell;
  if (ArbNode* const previous = prevSiblingOf(node)) previous->nextSiblingCell = node.cell;
  reference.prevSiblingCell = node.cell;
}

void unlinkFromParent(const ArbNode& node, ArbNodeRef* previousCell, ArbNodeRef* nextCell) {
  ArbNode* const parent = parentOf(node);
  if (!parent) return;
  --parent->childCount;
  if (parent->firstChildCell == node.cell) parent->firstChildCell = nextCell;
  if (parent->lastChildCell == node.cell) parent->lastChildCell = previousCell;
}

void unlink(ArbNode& node) {
  ArbNode* const previous = prevSiblingOf(node);
  ArbNode* const next = nextSiblingOf(node);
  unlinkFromParent(node, cellOf(previous), cellOf(next));
  if (previous) previous->nextSiblingCell = cellOf(next);
  if (next) next->prevSiblingCell = cellOf(previous);
  take(node, ARB_NODE_LINKED | ARB_NODE_IN_TREE);
  node.parentCell = node.nextSiblingCell = node.prevSiblingCell = nullptr;
}

ArbStatus checkTransfer(const ArbNode& from, const ArbNode& to) {
  if (has(from, ARB_NODE_ATTRIBUTES_DONE)) return ARB_ERR_LOCKED;
  if (has(from, ARB_NODE_CHILDREN_DONE)) return ARB_ERR_CLOSED;
  if (has(to, ARB_NODE_CHILDREN_DONE)) return ARB_ERR_CLOSED;
  if (has(from, ARB_NODE_IN_TREE) && !isProducerOnly(documentOf(from))) return ARB_ERR_CLOSED;
  return &from == &to ? ARB_ERR_BADARG : ARB_OK;
}

// Joins from's list to the end of to's. The children still name `from` as their parent.
void joinLists(ArbNode& from, ArbNode& to) {
  ArbNode* const firstMoved = firstChildOf(from);
  if (to.childCount == 0) {
    to.firstChildCell = from.firstChildCell;
    to.lastChildCell = from.lastChildCell;
  } else if (firstMoved) {
    ArbNode* const last = lastChildOf(to);
    firstMoved->prevSiblingCell = cellOf(last);
    if (last) {
      last->nextSiblingCell = firstMoved->cell;
    } else {
      to.firstChildCell = firstMoved->cell;  // all of to's children have been freed
    }
    to.lastChildCell = from.lastChildCell;
  }
  to.childCount += from.childCount;
}

void transferChildren(ArbNode& from, ArbNode& to) {
  ArbNode* const firstMoved = firstChildOf(from);
  joinLists(from, to);
  for (ArbNode* child = firstMoved; child; child = nextSiblingOf(*child)) child->parentCell = to.cell;
  from.firstChildCell = from.lastChildCell = nullptr;
  from.childCount = 0;
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

[[gnu::flatten]] ArbStatus ARB_CALL ArbNodeAppendChild(ArbNode* parent, ArbNode* child) {
  if (!parent || !child) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkLinking(*child, *parent, *parent)) return status;
  linkLast(*parent, *child);
  return announceLinked(*child, *parent);
}

ArbStatus ARB_CALL ArbNodeInsertSiblingBefore(ArbNode* reference, ArbNode* node) {
  if (!reference) return ARB_ERR_BADARG;
  if (!isProducerOnly(documentOf(*reference))) return ARB_ERR_MODE;
  if (!node) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkLinking(*node, *reference, *reference)) return status;
  ArbNode* const parent = parentOf(*reference);
  if (!parent) return ARB_ERR_DETACHED;
  linkBefore(*reference, *parent, *node);
  return announceLinked(*node, *reference);
}

ArbStatus ARB_CALL ArbNodeRemoveFromTree(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  if (!isProducerOnly(documentOf(*node))) return ARB_ERR_MODE;
  if (!has(*node, ARB_NODE_LINKED)) return ARB_ERR_DETACHED;
  unlink(*node);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbNodeTransferChildren(ArbNode* from, ArbNode* to) {
  if (!from || !to) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkTransfer(*from, *to)) return status;
  transferChildren(*from, *to);
  return ARB_OK;
}
