// References made ahead of their node, reading references with and without running the producer, and ID strings.
#include <cstdio>

#include "document/read_ahead.h"
#include "tree/cell_pool.h"
#include "tree/growing_array.h"
#include "tree/node.h"
#include "tree/pending_refs.h"

namespace arbtree {
namespace {

constexpr std::uint32_t kFirstBoundStrings = 32;

// A fresh cell that stands in the table of pending references; null when there is no memory.
ArbNodeRef* takePendingCell(ArbTree& tree) {
  ArbNodeRef* const cell = takeCell(tree);
  if (!cell || addPendingRef(tree, cell)) return cell;
  giveBackCell(tree, cell);
  return nullptr;
}

// Makes the string the node's, and the node's cell what a named reference to the string finds from now on. The tree
// remembers the string, so that no string points into a tree that is gone. False when there is no memory for that.
bool bindIdString(ArbNode& node, ArbString& string) {
  ArbTree& tree = *node.tree;
  const bool remembered = string.boundRef && blockOf(tree, string.boundRef);
  if (!remembered) {
    if (!reserveOne(tree.boundStrings, tree.boundStringCapacity, tree.boundStringCount, kFirstBoundStrings))
      return false;
    tree.boundStrings[tree.boundStringCount++] = &string;
  }
  node.idString = &string;
  string.boundRef = node.cell;
  return true;
}

// "ID" and the node's number in lowercase hexadecimal. Null when it cannot be made: the node then keeps no ID string.
ArbString* generateIdString(ArbNode& node) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "ID%lx", static_cast<unsigned long>(node.number));
  char16_t text[32] = {};
  for (int i = 0; digits[i]; ++i) text[i] = static_cast<char16_t>(digits[i]);
  ArbString* string = nullptr;
  if (ArbDocumentCreateString(&documentOf(node), text, &string) != ARB_OK) return nullptr;
  return bindIdString(node, *string) ? string : nullptr;
}

ArbString* idStringOf(ArbNode& node) { return node.idString ? node.idString : generateIdString(node); }

// The name of a node not made yet; null for every other reference.
ArbString* pendingName(const ArbNodeRef& reference) {
  return reference.state == ARB_REF_NAMED ? reinterpret_cast<ArbString*>(reference.value) : nullptr;
}

ArbStatus queryIdString(ArbNodeRef* reference, ArbString*& answer) {
  if (!reference) return ARB_OK;
  answer = pendingName(*reference);
  if (answer) return ARB_OK;
  ArbNode* const node = resolve(reference);
  if (!node || !has(*node, ARB_NODE_ATTRIBUTES_DONE)) return ARB_ERR_NOTREADY;
  answer = idStringOf(*node);
  return ARB_OK;
}

ArbStatus waitIdString(ArbNodeRef* reference, ArbDocument& document, ArbString*& answer) {
  if (isProducerOnly(document)) return ARB_ERR_MODE;
  if (!reference) return ARB_OK;
  answer = pendingName(*reference);
  if (answer) return ARB_OK;
  const ArbStatus status = waitUntil(document, [&] { return reference->state == ARB_REF_NODE; });
  if (status != ARB_OK) return status;
  ArbNode* const node = resolve(reference);
  if (!node) return ARB_OK;
  const NodeWatch watch(*node);
  ArbNodeWaitAttributesDone(node);                  // whatever it answers, the node is asked as it is now
  if (watch.isAlive()) answer = idStringOf(*node);  // a run may have freed it
  return ARB_OK;
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbTreeCreateFloatingNodeReference(ArbTree* tree, ArbNodeRef** reference) {
  if (!tree || !reference) return ARB_ERR_BADARG;
  if (isProducerDone(*tree)) return ARB_ERR_LOCKED;
  ArbNodeRef* const cell = takePendingCell(*tree);
  if (!cell) return ARB_ERR_NOMEMORY;
  *cell = {ARB_REF_FLOATING, ++documentOf(*tree).nodeCounter};
  *reference = cell;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbTreeCreateNamedNodeReference(ArbTree* tree, ArbString* name, ArbNodeRef** reference) {
  if (!tree || !name || !reference) return ARB_ERR_BADARG;
  if (isProducerDone(*tree)) return ARB_ERR_LOCKED;
  *reference = name->boundRef;
  if (*reference) return ARB_OK;
  ArbNodeRef* const cell = takePendingCell(*tree);
  if (!cell) return ARB_ERR_NOMEMORY;
  *cell = {ARB_REF_NAMED, reinterpret_cast<std::uintptr_t>(name)};
  *reference = cell;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbNodeRefQueryNode(ArbNodeRef* reference, ArbNode** node) {
  if (node) *node = nullptr;
  if (!reference) return ARB_OK;
  if (reference->state != ARB_REF_NODE) return ARB_ERR_NOTREADY;
  if (node) *node = resolve(reference);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbNodeRefWaitNode(ArbNodeRef* reference, ArbDocument* document, ArbNode** result) {
  if (!document) return ARB_ERR_BADARG;
  if (result) *result = nullptr;
  if (isProducerOnly(*document)) return ARB_ERR_MODE;
  if (!reference) return ARB_OK;
  const ArbStatus status = waitUntil(*document, [&] { return reference->state == ARB_REF_NODE; });
  ArbNode* const node = resolve(reference);
  if (node && result) *result = node;
  return status;
}

ArbStatus ARB_CALL ArbNodeRefQueryIdString(ArbNodeRef* reference, ArbString** idString) {
  ArbString* answer = nullptr;
  const ArbStatus status = queryIdString(reference, answer);
  if (idString) *idString = answer;
  return status;
}

ArbStatus ARB_CALL ArbNodeRefWaitIdString(ArbNodeRef* reference, ArbDocument* document, ArbString** idString) {
  if (!document) return ARB_ERR_BADARG;
  ArbString* answer = nullptr;
  const ArbStatus status = waitIdString(reference, *document, answer);
  if (idString) *idString = answer;
  return status;
}

ArbStatus ARB_CALL ArbNodeCreateID(ArbNode* node) {
  if (!node) return ARB_ERR_BADARG;
  if (has(*node, ARB_NODE_HAS_ID)) return ARB_OK;
  if (has(*node, ARB_NODE_ATTRIBUTES_DONE)) return ARB_ERR_LOCKED;
  give(*node, ARB_NODE_HAS_ID);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbNodeSetIDString(ArbNode* node, ArbString* idString) {
  if (!node || !idString) return ARB_ERR_BADARG;
  if (has(*node, ARB_NODE_ATTRIBUTES_DONE)) return ARB_ERR_LOCKED;
  if (!node->cell) return ARB_ERR_BADARG;
  if (!bindIdString(*node, *idString)) return ARB_ERR_NOMEMORY;
  give(*node, ARB_NODE_HAS_ID);
  return ARB_OK;
}
