#include "support/elements.h"

#include <map>

#include "platform/heap.h"

namespace arbtree::test {

Recorder* elementTrace = nullptr;

namespace {
std::uint64_t live = 0;

// A map keeps its entries where they are, so the descriptors stay valid.
const ArbNodeType* descriptorOf(std::uint32_t id) {
  static std::map<std::uint32_t, ArbNodeType> descriptors;
  ArbNodeType& type = descriptors[id];
  type.elementId = id;
  return &type;
}
}  // namespace

std::uint32_t ARB_CALL makeElement(ArbTree*, std::uint32_t id, ArbNode** node) {
  if (elementTrace) elementTrace->add("make " + std::to_string(id & 0x3FFF));
  if ((id & 0x3FFF) >= kFirstUnmade) return ARB_OK;
  auto* const element = heap::allocateRecord<ElementNode>();
  if (!element) return ARB_ERR_NOMEMORY;
  element->node.size = sizeof(ElementNode);
  element->node.nodeType = descriptorOf(id);
  ++live;
  *node = &element->node;
  return ARB_OK;
}

std::uint32_t ARB_CALL destroyElement(ArbNode* node) {
  if (elementTrace) elementTrace->add("destroy " + elementTrace->nameOf(node));
  --live;
  heap::release(node, sizeof(ElementNode));
  return ARB_OK;
}

std::uint64_t liveElements() { return live; }

}  // namespace arbtree::test
