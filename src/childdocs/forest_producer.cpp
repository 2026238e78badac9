// The producer's side of forests: making them; appending, closing and releasing child documents.
#include "childdocs/child_record.h"
#include "childdocs/forest_release.h"
#include "document/document.h"
#include "platform/heap.h"
#include "tree/node.h"

namespace arbtree {
namespace {

ArbStatus checkProducer(const ArbForestChild& child) {
  return has(child, ARB_CHILD_PRODUCER_RELEASED) ? ARB_ERR_RELEASED : ARB_OK;
}

ArbStatus checkAttached(const ArbForestChild& child) {
  if (const ArbStatus status = checkProducer(child)) return status;
  return has(child, ARB_CHILD_ATTACHED) ? ARB_OK : ARB_ERR_DETACHED;
}

void linkLast(ArbForest& forest, ArbForestChild& child) {
  child.prevSibling = forest.lastChild;
  if (forest.lastChild) {
    forest.lastChild->nextSibling = &child;
  } else {
    forest.firstChild = &child;
  }
  forest.lastChild = &child;
  child.parent = &forest;
  ++forest.childCount;
  child.flags |= ARB_CHILD_ATTACHED;
}

void releaseNodes(ArbTree& tree) {
  ArbTreeClearProducerNodeHooks(&tree);
  if (ArbNode* const root = resolve(tree.rootCell)) ArbNodeProducerReleaseSubtree(root);
}

struct ProducersSide {
  static bool skips(const ArbForestChild& child) { return has(child, ARB_CHILD_PRODUCER_RELEASED); }
  static ArbStatus check(const ArbForestChild& child) { return checkProducer(child); }
  static ArbStatus release(ArbForestChild& child) { return ArbForestChildProducerRelease(&child); }
  static ArbForestChild*& resumeAt(ArbForest& forest) { return forest.producerWalkNext; }
};

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbDocumentCreateForest(ArbDocument* document, const char16_t* nameTemplate, ArbForest** forest) {
  if (!document || !forest) return ARB_ERR_BADARG;
  auto* const created = heap::allocateRecord<ArbForest>();
  if (!created) return ARB_ERR_NOMEMORY;
  created->archiveType = 1;
  initChild(created->child, *document, ARB_CHILD_FOREST, kForestFormat, nameTemplate);
  *forest = created;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestAppendChild(ArbForest* forest, ArbForestChild* child) {
  if (!forest || !child) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkProducer(forest->child)) return status;
  if (has(forest->child, ARB_CHILD_CLOSED)) return ARB_ERR_CLOSED;
  linkLast(*forest, *child);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestAllChildrenAttached(ArbForest* forest) {
  if (!forest) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkProducer(forest->child)) return status;
  forest->child.flags |= ARB_CHILD_CLOSED;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestSetArchiveType(ArbForest* forest, uint32_t archiveType) {
  if (!forest) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkProducer(forest->child)) return status;
  if (has(forest->child, ARB_CHILD_PRODUCER_DONE)) return ARB_ERR_LOCKED;
  if (archiveType == 0) return ARB_ERR_BADARG;
  forest->archiveType = archiveType;
  if (archiveType == 1) forest->child.formatId = kForestFormat;
  if (archiveType == 2 || archiveType == 3) forest->child.formatId = kPackedForestFormat;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestChildProducerDone(ArbForestChild* child) {
  if (!child) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkAttached(*child)) return status;
  child->flags |= ARB_CHILD_CLOSED | ARB_CHILD_PRODUCER_DONE;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestChildProducerRelease(ArbForestChild* child) {
  if (!child) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkAttached(*child)) return status;
  if (child->kind == ARB_CHILD_TREE) releaseNodes(*asTree(child));
  child->flags |= ARB_CHILD_CLOSED | ARB_CHILD_PRODUCER_DONE | ARB_CHILD_PRODUCER_RELEASED;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestProducerReleaseSubtree(ArbForest* forest) {
  if (!forest) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkProducer(forest->child)) return status;
  return releaseForests<ProducersSide>(*forest);
}
