// Releasing nodes: a node has two owners, and goes when both have released it and no child of it is alive.
//
//   open -> attributes done -> producer done -> producer released --+
//                                                                   +--> freed, by the free rule
//   (any producer state) -> consumer released ----------------------+
//
// The rule is applied to a node when a side releases it and when a child of it is settled, at no other time: a leaf
// that both sides released while it was the last child of an open list stays until its tree is destroyed.
#include "tree/completion.h"
#include "tree/node_freeing.h"
#include "tree/producer_walk.h"

namespace arbtree {
namespace {

template <typename Observers>
ArbStatus producerRelease(Observers observers, ArbNode& node) {
  if (has(node, ARB_NODE_PRODUCER_RELEASED)) return ARB_ERR_RELEASED;
  raiseEvent(observers, ARB_EVENT_PRODUCER_RELEASE, node);
  const ArbStatus status = raiseHook(observers, ARB_HOOK_PRODUCER_RELEASE, node);
  if (!has(node, ARB_NODE_LINKED)) return ARB_ERR_DETACHED;
  completeAttributes(observers, node);
  if (!has(node, ARB_NODE_CHILDREN_DONE)) closeChildren(observers, node);
  give(node, ARB_NODE_PRODUCER_RELEASED);
  if (!isReleasedByAll(node)) [[likely]]  // the consumer mostly comes later
    return status;
  const ArbStatus freed = freeUnlessKept(node);  // ARB_OK, and in the unobserved way the call's last step
  return status == ARB_OK ? freed : status;
}

struct ProducerReleasing {
  static bool isDone(const ArbNode& node) { return has(node, ARB_NODE_PRODUCER_RELEASED); }
  static bool mayBeFreed(const ArbNode& node) { return isDone(node); }
  static void finish(ArbNode& node) { producerRelease(Observed{}, node); }
};

template <typename Observers>
ArbStatus consumerRelease(Observers observers, ArbNode& node) {
  if (has(node, ARB_NODE_CONSUMER_RELEASED)) return ARB_ERR_RELEASED;
  raiseEvent(observers, ARB_EVENT_CONSUMER_RELEASE, node);
  give(node, ARB_NODE_CONSUMER_RELEASED);
  if (isReleasedByAll(node)) [[likely]]
    return freeUnlessKept(node);
  return ARB_OK;
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbNodeProducerRelease(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  return observe(*node, [=](auto observers) { return producerRelease(observers, *node); });
}

ArbStatus ARB_CALL ArbNodeProducerReleaseSubtree(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  walkAsProducer<ProducerReleasing>(*node);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbNodeConsumerRelease(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  if (isProducerOnly(documentOf(*node))) return ARB_ERR_MODE;
  return observe(*node, [=](auto observers) { return consumerRelease(observers, *node); });
}
