// The plain steps from a node to its relatives, and the questions about its completeness, as Query and Wait.
//
// An answer is settled by the producer's marks: a child list is final once it is closed, the attributes once they are
// done, a link is usable once its cell is resolved. When production has ended, everything that exists is final.
#include "document/read_ahead.h"
#include "navigation/entry_checks.h"

namespace arbtree {
namespace {

bool isClosed(const ArbNode& node) { return has(node, ARB_NODE_CHILDREN_DONE); }

ArbStatus waitForFlag(ArbNode& node, std::uint32_t flag) {
  if (isProducerOnly(documentOf(node))) return ARB_ERR_MODE;
  return waitWhileAlive(node, [&] { return has(node, flag); });
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbNodeQueryChildCount(ArbNode* node, uint32_t* count) {
  if (!node) return ARB_ERR_BADARG;
  if (count) *count = 0;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  if (count) *count = node->childCount;
  return isClosed(*node) ? ARB_OK : ARB_ERR_NOTREADY;
}

ArbStatus ARB_CALL ArbNodeWaitChildCount(ArbNode* node, uint32_t* count) {
  if (!node) return ARB_ERR_BADARG;
  if (count) *count = 0;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  const ArbStatus status = waitUntil(documentOf(*node), [&] { return isClosed(*node); });
  if (status != ARB_OK) return status;
  if (count && isClosed(*node)) *count = node->childCount;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbNodeQueryFirstChild(ArbNode* node, ArbNode** result) {
  if (!node || !result) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  if (!node->firstChildCell && !isClosed(*node)) return ARB_ERR_NOTREADY;
  return answerLink(node->firstChildCell, *node, result);
}

ArbStatus ARB_CALL ArbNodeWaitFirstChild(ArbNode* node, ArbNode** result) {
  if (!node || !result) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  const ArbStatus status = waitUntil(documentOf(*node), [&] { return node->firstChildCell || isClosed(*node); });
  if (status != ARB_OK) return status;
  return answerLink(node->firstChildCell, *node, result);
}

ArbStatus ARB_CALL ArbNodeQueryLastChild(ArbNode* node, ArbNode** result) {
  if (!node || !result) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  if (!isClosed(*node)) return ARB_ERR_NOTREADY;
  return answerLink(node->lastChildCell, *node, result);
}

ArbStatus ARB_CALL ArbNodeWaitLastChild(ArbNode* node, ArbNode** result) {
  if (!node || !result) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  if (const ArbStatus status = ArbNodeWaitAllChildrenAttached(node)) return status;
  return answerLink(node->lastChildCell, *node, result);
}

ArbStatus ARB_CALL ArbNodeQueryNextSibling(ArbNode* node, ArbNode** result) {
  if (!node || !result) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  const ArbNode* const parent = parentOf(*node);
  if (!parent) return ARB_OK;
  if (!node->nextSiblingCell && !isClosed(*parent)) return ARB_ERR_NOTREADY;
  return answerLink(node->nextSiblingCell, *node, result);
}

ArbStatus ARB_CALL ArbNodeWaitNextSibling(ArbNode* node, ArbNode** result) {
  if (!node || !result) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  if (!parentOf(*node)) return ARB_OK;
  // A run may move the node to another parent.
  const ArbStatus status = waitUntil(documentOf(*node), [&] {
    const ArbNode* const parent = parentOf(*node);
    return node->nextSiblingCell || !parent || isClosed(*parent);
  });
  if (status != ARB_OK) return status;
  return answerLink(node->nextSiblingCell, *node, result);
}

ArbStatus ARB_CALL ArbNodeWaitPrevSibling(ArbNode* node, ArbNode** result) {
  if (!node || !result) return ARB_ERR_BADARG;
  if (isProducerOnly(documentOf(*node))) return ARB_ERR_MODE;
  return answerLink(node->prevSiblingCell, *node, result);
}

ArbStatus ARB_CALL ArbNodeWaitParent(ArbNode* node, ArbNode** result) {
  if (!node || !result) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  return answerLink(node->parentCell, *node, result);
}

ArbStatus ARB_CALL ArbNodeWaitAllChildrenAttached(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  return waitForFlag(*node, ARB_NODE_CHILDREN_DONE);
}

ArbStatus ARB_CALL ArbNodeWaitAttributesDone(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  return waitForFlag(*node, ARB_NODE_ATTRIBUTES_DONE);
}
