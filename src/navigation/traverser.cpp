// The document-order walk: every node of a subtree reported to the host's callbacks, running the producer as far as the
// walk needs.
//
// It behaves like a recursion over the tree, yet keeps its place by the nodes' own links and owns nothing, so depth
// costs no stack and a bail-out may leave at any wait. One result suffices for all levels: a node's visit hands its
// result to its parent, and a zero ends the walk wherever it comes from.
#include "nodetypes/text_value.h"

namespace arbtree {
namespace {

using ElementCallback = decltype(ArbTraverserCallbacks::startElement);
using TextCallback = decltype(ArbTraverserCallbacks::textNode);

class Traversal {
 public:
  Traversal(ArbNode& start, const ArbTraverserCallbacks& callbacks, void* userData)
      : start_(start), callbacks_(callbacks), userData_(userData) {}

  std::uint32_t run() {
    ArbNode* node = &start_;
    while (node) {
      const NodeWatch watch(*node);
      ArbNodeRef* const parent = node == &start_ ? nullptr : node->parentCell;
      ArbNode* const child = arrive(*node);
      if (result_ == 0) return 0;
      if (child) {
        node = child;
      } else if (watch.isAlive()) {
        node = leaveUpwards(*node);
      } else if (ArbNode* const above = resolve(parent)) {
        node = leaveUpwards(*above);  // a run has freed the node, which the consumer had released before the walk
      } else {
        node = nullptr;
      }
    }
    return result_;
  }

 private:
  // Reports the node up to its children. Gives the first child to visit, or null.
  ArbNode* arrive(ArbNode& node) {
    if (isTextBearing(elementIdOf(node))) {
      reportText(node);
      return nullptr;
    }
    result_ = 1;
    if (!call(callbacks_.startElement, node)) return nullptr;
    const NodeWatch watch(node);
    const ArbStatus status = ArbNodeWaitAttributesDone(&node);
    if (!watch.isAlive() || (status == ARB_OK && !reportAttributes(node))) return nullptr;
    if (callbacks_.enterChildren && callbacks_.enterChildren(&node, elementIdOf(node), userData_) == 0) return nullptr;
    ArbNode* child = nullptr;
    return ArbNodeWaitFirstChild(&node, &child) == ARB_OK ? child : nullptr;
  }

  // Ends the node and every ancestor whose last child is thereby done. Gives the next node to visit, or null.
  ArbNode* leaveUpwards(ArbNode& first) {
    for (ArbNode* node = &first; node; node = parentOf(*node)) {
      if (!isTextBearing(elementIdOf(*node)) && !call(callbacks_.endElement, *node)) return nullptr;
      if (node == &start_) return nullptr;
      ArbNode* next = nullptr;
      if (ArbNodeWaitNextSibling(node, &next) == ARB_OK && next) return next;
    }
    return nullptr;
  }

  // False when the walk stops here.
  bool call(ElementCallback callback, ArbNode& node) {
    if (callback) result_ = callback(&node, elementIdOf(node), userData_);
    return result_ != 0;
  }

  bool reportAttributes(ArbNode& node) {
    return call(callbacks_.startAttributes, node) && reportEachAttribute(node) && call(callbacks_.endAttributes, node);
  }

  bool reportEachAttribute(ArbNode& node) {
    if (!callbacks_.attribute) return true;
    const ArbNodeType& type = *node.nodeType;
    for (std::uint32_t i = 0; i < type.attributeCount; ++i) {
      if (!type.hasAttribute(&node, i)) continue;
      const ArbAttributeDef& attribute = type.attributes[i];
      result_ = callbacks_.attribute(&node, type.elementId, attribute.attributeId, type.getAttribute(&node, i),
                                     attribute.attributeInfo, userData_);
      if (result_ == 0) return false;
    }
    return true;
  }

  TextCallback textCallback(std::uint32_t elementId) const {
    if (elementId == ARB_ELEM_TEXT_4) return callbacks_.text4Node;
    return elementId == ARB_ELEM_TEXT_3 ? callbacks_.text3Node : callbacks_.textNode;
  }

  void reportText(const ArbNode& node) {
    const TextCallback callback = textCallback(elementIdOf(node));
    result_ = callback ? callback(asText(node).text, asText(node).textLength, userData_) : 1;
  }

  ArbNode& start_;
  const ArbTraverserCallbacks& callbacks_;
  void* const userData_;
  std::uint32_t result_ = 1;
};

}  // namespace
}  // namespace arbtree

uint32_t ARB_CALL ArbDocumentOrderTraverser(ArbNode* node, const ArbTraverserCallbacks* callbacks, void* userData) {
  if (!node || !callbacks) return 0;
  return arbtree::Traversal(*node, *callbacks, userData).run();
}
