// Making external references and reading their entity names.
#include <string_view>

#include "tree/node.h"
#include "tree/node_creation.h"

namespace arbtree {
namespace {

constexpr std::size_t kMostNameUnits = sizeof(ArbExternalReferenceNode::entityName) / sizeof(char16_t) - 1;

}  // namespace
}  // namespace arbtree

using namespace arbtree;

// A name that does not fit is refused before a node is made.
ArbStatus ARB_CALL ArbTreeCreateExternalReferenceNode(ArbTree* tree, ArbForestChild* target, const char16_t* entityName,
                                                      ArbNode** node) {
  if (!tree || !entityName || !node) return ARB_ERR_BADARG;
  const std::u16string_view name(entityName);
  if (name.size() > kMostNameUnits) return ARB_ERR_BADARG;
  ArbNode* made = nullptr;
  const ArbStatus status = createNode(*tree, ARB_ELEM_EXTERNAL_REFERENCE, nullptr, node, made);
  if (status != ARB_OK) return status;
  auto* const reference = reinterpret_cast<ArbExternalReferenceNode*>(made);
  reference->target = target;
  name.copy(reference->entityName, kMostNameUnits);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbExternalReferenceNodeGetEntityName(ArbNode* node, const char16_t** name) {
  if (!node || elementIdOf(*node) != ARB_ELEM_EXTERNAL_REFERENCE) return ARB_ERR_BADARG;
  if (name) *name = reinterpret_cast<ArbExternalReferenceNode*>(node)->entityName;
  return ARB_OK;
}
