// The plain steps from a node to its relatives, and the questions about its completeness, as Query and Wait.
//
// An answer is settled by the producer's marks: a child list is final once it is closed, the attributes once they are
// done, a link is usable once its cell is resolved. When production has ended, everything that exists is final.
#include "document/read_ahead.h"
#include "navigation/entry_checks.h"

namespace arbtree {
namespace {

bool isClosed(const ArbNode& node) { return has(node, ARB_NODE_CHILDREN_DONE); }

// A step to a relative: when its answer is known, and the link that holds it then.
struct FirstChild {
  static bool isKnown(const ArbNode& node) { return node.firstChildCell || isClosed(node); }
  static ArbNodeRef* link(const ArbNode& node) { return node.firstChildCell; }
};

struct LastChild {
  static bool isKnown(const ArbNode& node) { return isClosed(node); }
  static ArbNodeRef* link(const ArbNode& node) { return node.lastChildCell; }
};

// A run may move the node to another parent, so that is looked up every time.
struct NextSibling {
  static bool isKnown(const ArbNode& node) {
    if (node.nextSiblingCell) return true;
    const ArbNode* const parent = parentOf(node);
    return !parent || isClosed(*parent);
  }
  static ArbNodeRef* link(const ArbNode& node) { return node.nextSiblingCell; }
};

template <typename Step>
ArbStatus query(const ArbNode& node, ArbNode** result) {
  return Step::isKnown(node) ? answerLink(Step::link(node), node, result) : ArbStatus{ARB_ERR_NOTREADY};
}

// Apart from wait(), which needs no stack while the answer is known. A node that a function of the host releases during
// the run may be gone then, and has no relatives.
template <typename Step>
[[gnu::noinline]] ArbStatus runUntilKnown(const ArbNode& node, ArbNode** result) {
  const NodeWatch watch(node);
  const ArbStatus status = waitWhileAlive(node, [&] { return Step::isKnown(node); });
  if (status != ARB_OK) return status;
  if (watch.isAlive()) return answerLink(Step::link(node), node, result);
  *result = nullptr;
  return ARB_OK;
}

template <typename Step>
ArbStatus wait(const ArbNode& node, ArbNode** result) {
  return Step::isKnown(node) ? answerLink(Step::link(node), node, result) : runUntilKnown<Step>(node, result);
}

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
  return query<FirstChild>(*node, result);
}

ArbStatus ARB_CALL ArbNodeWaitFirstChild(ArbNode* node, ArbNode** result) {
  if (!node || !result) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  return wait<FirstChild>(*node, result);
}

ArbStatus ARB_CALL ArbNodeQueryLastChild(ArbNode* node, ArbNode** result) {
  if (!node || !result) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  return query<LastChild>(*node, result);
}

ArbStatus ARB_CALL ArbNodeWaitLastChild(ArbNode* node, ArbNode** result) {
  if (!node || !result) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  return wait<LastChild>(*node, result);
}

ArbStatus ARB_CALL ArbNodeQueryNextSibling(ArbNode* node, ArbNode** result) {
  if (!node || !result) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  if (!node->nextSiblingCell && !parentOf(*node)) return ARB_OK;
  return query<NextSibling>(*node, result);
}

ArbStatus ARB_CALL ArbNodeWaitNextSibling(ArbNode* node, ArbNode** result) {
  if (!node || !result) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkConsumer(*node)) return status;
  if (!node->nextSiblingCell && !parentOf(*node)) return ARB_OK;
  return wait<NextSibling>(*node, result);
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
