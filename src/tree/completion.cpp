#include "tree/completion.h"

#include "document/events.h"
#include "document/read_ahead.h"
#include "tree/producer_walk.h"

namespace arbtree {
namespace {

ArbStatus completeNode(ArbNode& node) {
  if (const ArbStatus status = completeAttributes(node)) return status;
  closeChildren(node);
  return ARB_OK;
}

// Completing frees nothing, but a callback may release the node that it completes.
struct Completing {
  static bool isDone(const ArbNode& node) { return isComplete(node); }
  static bool mayBeFreed(const ArbNode& node) { return has(node, ARB_NODE_PRODUCER_RELEASED); }
  static void finish(ArbNode& node) { completeNode(node); }
};

}  // namespace

ArbStatus completeAttributes(ArbNode& node) {
  if (has(node, ARB_NODE_ATTRIBUTES_DONE)) return ARB_OK;
  const ArbStatus status = raiseHook(node, ARB_HOOK_ATTRIBUTES_DONE);
  give(node, ARB_NODE_ATTRIBUTES_DONE);
  raiseEvent(documentOf(node), ARB_EVENT_ATTRIBUTES_DONE, &node);
  return status;
}

void closeChildren(ArbNode& node) {
  give(node, ARB_NODE_CHILDREN_DONE);
  raiseEvent(documentOf(node), ARB_EVENT_CHILDREN_DONE, &node);
}

}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbNodeAttributesDone(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  return completeAttributes(*node);
}

ArbStatus ARB_CALL ArbNodeAllChildrenAttached(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  closeChildren(*node);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbNodeProducerDone(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  return completeNode(*node);
}

ArbStatus ARB_CALL ArbNodeProducerDoneSubtree(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  ProducerWalk<Completing>(*node).run();
  return ARB_OK;
}

ArbStatus ARB_CALL ArbNodeWaitProducerDone(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  if (isProducerOnly(documentOf(*node))) return ARB_ERR_MODE;
  return waitWhileAlive(*node, [&] { return isComplete(*node); });
}
