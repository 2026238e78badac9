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

ArbNode* newElement(std::uint32_t id, std::size_t size) {
  auto* const node = static_cast<ArbNode*>(heap::allocateZeroed(size));
  if (!node) return nullptr;
  node->size = static_cast<std::uint16_t>(size);
  node->nodeType = descriptorOf(id);
  ++live;
  return node;
}

std::uint32_t ARB_CALL makeElement(ArbTree*, std::uint32_t id, ArbNode** node) {
  if (elementTrace) elementTrace->add("make " + std::to_string(id & 0x3FFF));
  if ((id & 0x3FFF) >= kFirstUnmade) return ARB_OK;
  ArbNode* const made = newElement(id, sizeof(ElementNode));
  if (!made) return ARB_ERR_NOMEMORY;
  *node = made;
  return ARB_OK;
}

std::uint32_t ARB_CALL destroyElement(ArbNode* node) {
  if (elementTrace) elementTrace->add("destroy " + elementTrace->nameOf(node));
  --live;
  heap::release(node);
  return ARB_OK;
}

std::uint64_t liveElements() { return live; }

}  // namespace arbtree::test
