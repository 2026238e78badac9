#include "support/attribute_kinds.h"

#include <gtest/gtest.h>

#include <utility>

#include "arbtree/elemdefs.h"
#include "support/ok.h"

namespace arbtree::test {

const ArbAttributeDef kAttributes[kAttributeCount] = {
    {0x04018001, 11}, {0x37018002, 22}, {0x04018003, 33}, {0xFC018004, 44}};

namespace {

bool refusing = false;
std::uint32_t passesLeft = 0;
std::vector<std::uint32_t> setAttributes;

bool isPresent(ArbNode* node, std::uint32_t index) { return (asAttributes(node).present >> index & 1) != 0; }

std::uintptr_t ARB_CALL getAttribute(ArbNode* node, std::uint32_t index) { return asAttributes(node).values[index]; }

std::uint32_t ARB_CALL setAttribute(ArbNode* node, std::uint32_t index, std::uintptr_t value) {
  setAttributes.push_back(index);
  asAttributes(node).present |= 1u << index;
  asAttributes(node).values[index] = static_cast<std::uint32_t>(value);
  return 77;  // nobody may look at it
}

std::uint32_t ARB_CALL hasAttribute(ArbNode* node, std::uint32_t index) { return isPresent(node, index) ? 8 : 0; }

std::uint32_t ARB_CALL hash(ArbNode* node) {
  std::uint32_t result = 0x5EED;
  for (std::uint32_t i = 0; i < kAttributeCount; ++i) {
    if (isPresent(node, i)) result = result * 31 + asAttributes(node).values[i];
  }
  return result;
}

// Any non-zero answer means equal.
std::uint32_t ARB_CALL isEqual(ArbNode* a, ArbNode* b) {
  for (std::uint32_t i = 0; i < kAttributeCount; ++i) {
    if (isPresent(a, i) != isPresent(b, i)) return 0;
    if (isPresent(a, i) && asAttributes(a).values[i] != asAttributes(b).values[i]) return 0;
  }
  return 6;
}

const ArbNodeType kFunctionType = {kAttributeKind, ARB_TYPE_ATTR_FUNCTIONS,
                                   {0, 0},         kAttributeCount,
                                   kAttributes,    getAttribute,
                                   setAttribute,   hasAttribute,
                                   hash,           isEqual,
                                   nullptr,        nullptr};

std::uint32_t ARB_CALL make(ArbTree*, std::uint32_t id, ArbNode** node) {
  if (refusing && passesLeft-- == 0) {
    passesLeft = 0;
    return ARB_OK;
  }
  const bool hasFunctions = id == kAttributeKind;
  ArbNode* const made = newElement(id, hasFunctions ? sizeof(AttributeNode) : sizeof(ArbNode) + id - plainKind(0));
  if (!made) return ARB_ERR_NOMEMORY;
  if (hasFunctions) made->nodeType = &kFunctionType;
  *node = made;
  return ARB_OK;
}

}  // namespace

void addAttributeKinds(ArbTree* tree) {
  static const std::uint32_t registered = ElemDefsRegisterNamespace(kAttributeNamespace, make, destroyElement, 1);
  ok(registered);
  ok(ArbTreeAddNodeFactory(tree, kAttributeNamespace));
}

RefusingFactory::RefusingFactory(std::uint32_t passes) {
  refusing = true;
  passesLeft = passes;
}

RefusingFactory::~RefusingFactory() { refusing = false; }

std::vector<std::uint32_t> takeSetAttributes() { return std::exchange(setAttributes, {}); }

}  // namespace arbtree::test
