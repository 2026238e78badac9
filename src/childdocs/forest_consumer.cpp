// The consumer's side of forests: walking child documents as Query and Wait, and releasing them.
//
// A closed list is what turns "not ready" into a definite answer for a forest's count and last child and for the last
// sibling. The producer may append children and close lists in the middle of a wait.
#include "childdocs/child_record.h"
#include "childdocs/forest_release.h"
#include "document/read_ahead.h"
#include "tree/node.h"

namespace arbtree {
namespace {

bool isClosed(const ArbForest& forest) { return has(forest.child, ARB_CHILD_CLOSED); }

// A child without a parent is in no list that could still grow.
bool isLastForGood(const ArbForestChild& child) { return !child.parent || isClosed(*child.parent); }

ArbStatus checkMode(const ArbForestChild& child) { return isProducerOnly(*child.document) ? ARB_ERR_MODE : ARB_OK; }

ArbStatus checkConsumer(const ArbForestChild& child) {
  if (const ArbStatus status = checkMode(child)) return status;
  return has(child, ARB_CHILD_CONSUMER_RELEASED) ? ARB_ERR_RELEASED : ARB_OK;
}

ArbStatus waitClosed(ArbForest& forest) {
  return waitUntil(*forest.child.document, [&] { return isClosed(forest); });
}

template <typename Result>
void store(Result* out, Result value) {
  if (out) *out = value;
}

void releaseNodes(ArbTree& tree) {
  ArbNode* const root = resolve(tree.rootCell);
  if (root && !has(*root, ARB_NODE_CONSUMER_RELEASED)) ArbNodeConsumerReleaseSubtree(root);
}

struct ConsumersSide {
  static bool skips(const ArbForestChild&) { return false; }
  static ArbStatus check(const ArbForestChild& child) { return checkConsumer(child); }
  static ArbStatus release(ArbForestChild& child) { return ArbForestChildConsumerRelease(&child); }
  static ArbForestChild*& resumeAt(ArbForest& forest) { return forest.consumerWalkNext; }
};

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbForestQueryChildCount(ArbForest* forest, uint32_t* count) {
  if (!forest) return ARB_ERR_BADARG;
  store(count, 0u);
  if (const ArbStatus status = checkConsumer(forest->child)) return status;
  if (!isClosed(*forest)) return ARB_ERR_NOTREADY;
  store(count, forest->childCount);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestWaitChildCount(ArbForest* forest, uint32_t* count) {
  if (!forest) return ARB_ERR_BADARG;
  store(count, 0u);
  if (const ArbStatus status = checkConsumer(forest->child)) return status;
  if (const ArbStatus status = waitClosed(*forest)) return status;
  if (isClosed(*forest)) store(count, forest->childCount);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestQueryFirstChild(ArbForest* forest, ArbForestChild** child) {
  if (!forest) return ARB_ERR_BADARG;
  store<ArbForestChild*>(child, nullptr);
  if (const ArbStatus status = checkConsumer(forest->child)) return status;
  if (!forest->firstChild && !isClosed(*forest)) return ARB_ERR_NOTREADY;
  store(child, forest->firstChild);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestWaitFirstChild(ArbForest* forest, ArbForestChild** child) {
  if (!forest) return ARB_ERR_BADARG;
  store<ArbForestChild*>(child, nullptr);
  if (const ArbStatus status = checkConsumer(forest->child)) return status;
  const ArbStatus status = waitUntil(*forest->child.document, [&] { return forest->firstChild || isClosed(*forest); });
  if (status != ARB_OK) return status;
  store(child, forest->firstChild);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestQueryLastChild(ArbForest* forest, ArbForestChild** child) {
  if (!forest) return ARB_ERR_BADARG;
  store<ArbForestChild*>(child, nullptr);
  if (const ArbStatus status = checkConsumer(forest->child)) return status;
  if (!isClosed(*forest)) return ARB_ERR_NOTREADY;
  store(child, forest->lastChild);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestWaitLastChild(ArbForest* forest, ArbForestChild** child) {
  if (!forest) return ARB_ERR_BADARG;
  store<ArbForestChild*>(child, nullptr);
  if (const ArbStatus status = ArbForestWaitAllChildrenAttached(forest)) return status;
  store(child, forest->lastChild);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestWaitAllChildrenAttached(ArbForest* forest) {
  if (!forest) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(forest->child)) return status;
  return waitClosed(*forest);
}

// In the sibling calls the mode is tested before the out-parameter, which is the call's own check.
ArbStatus ARB_CALL ArbForestChildQueryNextSibling(ArbForestChild* child, ArbForestChild** sibling) {
  if (!child) return ARB_ERR_BADARG;
  store<ArbForestChild*>(sibling, nullptr);
  if (const ArbStatus status = checkMode(*child)) return status;
  if (!sibling) return ARB_ERR_BADARG;
  if (!child->nextSibling && !isLastForGood(*child)) return ARB_ERR_NOTREADY;
  *sibling = child->nextSibling;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestChildWaitNextSibling(ArbForestChild* child, ArbForestChild** sibling) {
  if (!child) return ARB_ERR_BADARG;
  store<ArbForestChild*>(sibling, nullptr);
  if (const ArbStatus status = checkMode(*child)) return status;
  if (!sibling) return ARB_ERR_BADARG;
  const ArbStatus status = waitUntil(*child->document, [&] { return child->nextSibling || isLastForGood(*child); });
  if (status != ARB_OK) return status;
  *sibling = child->nextSibling;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestChildWaitPrevSibling(ArbForestChild* child, ArbForestChild** sibling) {
  if (!child) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkMode(*child)) return status;
  if (!sibling) return ARB_ERR_BADARG;
  *sibling = child->prevSibling;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestChildConsumerRelease(ArbForestChild* child) {
  if (!child) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(*child)) return status;
  if (child->kind == ARB_CHILD_TREE) releaseNodes(*asTree(child));
  child->flags |= ARB_CHILD_CONSUMER_RELEASED;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestConsumerReleaseSubtree(ArbForest* forest) {
  if (!forest) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(forest->child)) return status;
  return releaseForests<ConsumersSide>(*forest);
}
