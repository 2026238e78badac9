// Searches by element id, compared as whole 32-bit values. The node itself is never a candidate; the result is written
// for a match only.
#include "navigation/entry_checks.h"

namespace arbtree {
namespace {

using Step = ArbStatus(ARB_CALL*)(ArbNode*, ArbNode**);

// Gives the first of `node` and those that `next` leads to from it that has the element id. The Get calls' walk: it
// ends at the first link that is null or not resolved.
ArbStatus search(ArbNode* node, std::uint32_t elementId, ArbNode* (*next)(const ArbNode&), ArbNode** result) {
  while (node && elementIdOf(*node) != elementId) node = next(*node);
  if (node && result) *result = node;
  return ARB_OK;
}

ArbStatus checkProducer(const ArbNode& node) {
  return has(node, ARB_NODE_PRODUCER_RELEASED) ? ARB_ERR_RELEASED : ARB_OK;
}

// The Query and Wait calls' walk: each candidate comes from a step of the same form on the one before it.
ArbStatus searchStepwise(ArbNode* from, Step first, Step next, std::uint32_t elementId, ArbNode** result) {
  ArbNode* candidate = nullptr;
  ArbStatus status = first(from, &candidate);
  while (status == ARB_OK && candidate) {
    if (elementIdOf(*candidate) == elementId) {
      if (result) *result = candidate;
      return ARB_OK;
    }
    ArbNode* following = nullptr;
    status = next(candidate, &following);
    candidate = following;
  }
  return status;
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbNodeGetFirstChildByElementId(ArbNode* node, uint32_t elementId, ArbNode** result) {
  if (!node) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkProducer(*node)) return status;
  return search(firstChildOf(*node), elementId, nextSiblingOf, result);
}

ArbStatus ARB_CALL ArbNodeGetNextSiblingByElementId(ArbNode* node, uint32_t elementId, ArbNode** result) {
  if (!node) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkProducer(*node)) return status;
  return search(nextSiblingOf(*node), elementId, nextSiblingOf, result);
}

ArbStatus ARB_CALL ArbNodeGetAncestorByElementId(ArbNode* node, uint32_t elementId, ArbNode** result) {
  if (!node) return ARB_ERR_BADARG;
  if (const ArbStatus status = checkProducer(*node)) return status;
  return search(parentOf(*node), elementId, parentOf, result);
}

ArbStatus ARB_CALL ArbNodeQueryFirstChildByElementId(ArbNode* node, uint32_t elementId, ArbNode** result) {
  if (!node) return ARB_ERR_BADARG;
  return searchStepwise(node, ArbNodeQueryFirstChild, ArbNodeQueryNextSibling, elementId, result);
}

ArbStatus ARB_CALL ArbNodeWaitFirstChildByElementId(ArbNode* node, uint32_t elementId, ArbNode** result) {
  if (!node) return ARB_ERR_BADARG;
  return searchStepwise(node, ArbNodeWaitFirstChild, ArbNodeWaitNextSibling, elementId, result);
}

ArbStatus ARB_CALL ArbNodeWaitNextSiblingByElementId(ArbNode* node, uint32_t elementId, ArbNode** result) {
  if (!node) return ARB_ERR_BADARG;
  return searchStepwise(node, ArbNodeWaitNextSibling, ArbNodeWaitNextSibling, elementId, result);
}

ArbStatus ARB_CALL ArbNodeWaitAncestorByElementId(ArbNode* node, uint32_t elementId, ArbNode** result) {
  if (!node) return ARB_ERR_BADARG;
  if (result) *result = nullptr;
  return searchStepwise(node, ArbNodeWaitParent, ArbNodeWaitParent, elementId, result);
}
