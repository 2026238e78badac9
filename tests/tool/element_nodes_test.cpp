// The tool's node kinds and nodes where the tool itself does not lead: what the library may ask of the factory and of a
// descriptor's operations. What it does lead to is tested through the tool.
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

#include "element_kinds.h"
#include "element_node.h"

namespace arbtree::tool {
namespace {

struct Destroy {
  void operator()(ArbNode* node) const { destroyElementNode(node); }
};
using Node = std::unique_ptr<ArbNode, Destroy>;

Node make(std::uint32_t elementId) {
  ArbNode* node = nullptr;
  makeElementNode(nullptr, elementId, &node);
  return Node(node);
}

// A node of a kind with the attributes a, b and c.
Node makeOfThree() {
  ElementKinds& kinds = ElementKinds::instance();
  ElementKind& kind = kinds.element("three");
  for (const char* const name : {"a", "b", "c"}) kinds.attributeIndex(kind, name, 0);
  kinds.publish(kind);
  return make(kind.elementId);
}

std::uintptr_t value(const char16_t* text) { return reinterpret_cast<std::uintptr_t>(text); }

ArbStatus set(const Node& node, std::uint32_t index, std::uintptr_t value) {
  return node->nodeType->setAttribute(node.get(), index, value);
}

// The values that the descriptor shows, each with a space behind it.
std::u16string read(const Node& node) {
  std::u16string values;
  for (std::uint32_t i = 0; i < node->nodeType->attributeCount; ++i) {
    const auto* const text = reinterpret_cast<const char16_t*>(node->nodeType->getAttribute(node.get(), i));
    EXPECT_EQ(text != nullptr, node->nodeType->hasAttribute(node.get(), i) == 1);
    values += std::u16string(text ? text : u"none") + u' ';
  }
  return values;
}

TEST(ElementKinds, TheFactoryMakesNothingForIdsThatAreNotOurs) {
  for (const std::uint32_t id : {0u, ARB_ELEM_TEXT, ARB_ELEM_ROOT, 0xFFFFFFFFu, (64u + 31u) << 14, 63u << 14}) {
    EXPECT_EQ(nullptr, make(id)) << id;
  }
}

TEST(ElementNodes, SettingInsertsAndReplacesAndRefuses) {
  const Node node = makeOfThree();
  EXPECT_EQ(ARB_OK, set(node, 2, value(u"3")));
  EXPECT_EQ(ARB_OK, set(node, 0, value(u"")));
  EXPECT_EQ(u" none 3 ", read(node));
  EXPECT_EQ(ARB_OK, set(node, 1, value(u"2")));
  EXPECT_EQ(ARB_OK, set(node, 1, value(u"two")));
  EXPECT_EQ(ARB_ERR_BADARG, set(node, 3, value(u"x")));
  EXPECT_EQ(ARB_ERR_BADARG, set(node, 0, 0));
  EXPECT_EQ(u" two 3 ", read(node));
  for (int i = 0; i < 100; ++i) {  // its own value, while the array that it is in grows and moves
    EXPECT_EQ(ARB_OK, set(node, 2, node->nodeType->getAttribute(node.get(), 1)));
    EXPECT_EQ(u" two two ", read(node));
  }
}

TEST(ElementNodes, EqualityAndHashAreOverAllAttributesInAnyOrder) {
  const auto made = [](std::initializer_list<std::pair<std::uint32_t, const char16_t*>> attributes) {
    Node node = makeOfThree();
    for (const auto& [index, text] : attributes) EXPECT_EQ(ARB_OK, set(node, index, value(text)));
    return node;
  };
  const auto isEqual = [](const Node& a, const Node& b) { return a->nodeType->isEqual(a.get(), b.get()); };
  const auto hash = [](const Node& node) { return node->nodeType->hash(node.get()); };
  const Node node = made({{0, u"1"}, {1, u"2"}});
  const Node same = made({{1, u"2"}, {0, u"1"}});
  EXPECT_EQ(1u, isEqual(node, same));
  EXPECT_EQ(hash(node), hash(same));
  const Node others[] = {made({}),
                         made({{0, u"1"}}),
                         made({{0, u"1"}, {2, u"2"}}),
                         made({{0, u"1"}, {1, u"3"}}),
                         made({{0, u"2"}, {1, u"1"}}),
                         made({{0, u"1"}, {1, u"2"}, {2, u""}})};
  for (const Node& other : others) {
    EXPECT_EQ(0u, isEqual(node, other));
    EXPECT_EQ(0u, isEqual(other, node));
    EXPECT_NE(hash(node), hash(other));
  }
}

}  // namespace
}  // namespace arbtree::tool
