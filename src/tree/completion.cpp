#include "tree/completion.h"

#include "document/read_ahead.h"
#include "tree/producer_walk.h"

namespace arbtree {
namespace {

template <typename Observers>
ArbStatus completeNode(Observers observers, ArbNode& node) {
  if (const ArbStatus status = completeAttributes(observers, node)) return status;
  closeChildren(observers, node);
  return ARB_OK;
}

// Completing frees nothing, but a callback may release the node that it completes.
struct Completing {
  static bool isDone(const ArbNode& node) { return isComplete(node); }
  static bool mayBeFreed(const ArbNode& node) { return has(node, ARB_NODE_PRODUCER_RELEASED); }
  static void finish(ArbNode& node) { completeNode(Observed{}, node); }
};

}  // namespace

}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbNodeAttributesDone(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  return observe(*node, [=](auto observers) { return completeAttributes(observers, *node); });
}

ArbStatus ARB_CALL ArbNodeAllChildrenAttached(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  closeChildren(Observed{}, *node);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbNodeProducerDone(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  return observe(*node, [=](auto observers) { return completeNode(observers, *node); });
}

ArbStatus ARB_CALL ArbNodeProducerDoneSubtree(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  walkAsProducer<Completing>(*node);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbNodeWaitProducerDone(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  if (isProducerOnly(documentOf(*node))) return ARB_ERR_MODE;
  return waitWhileAlive(*node, [&] { return isComplete(*node); });
}
