// The tool's node kinds and nodes, as the library and its users see them: through element ids, the factory and the
// descriptor's operations.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "element_kinds.h"
#include "element_node.h"

namespace arbtree::tool {
namespace {

struct Destroy {
  void operator()(ArbNode* node) const { destroyElementNode(node); }
};
using Node = std::unique_ptr<ArbNode, Destroy>;
using Attributes = std::vector<std::pair<std::string, std::string>>;

Node make(std::uint32_t elementId) {
  ArbNode* node = nullptr;
  makeElementNode(nullptr, elementId, &node);
  return Node(node);
}

// An element as the producer makes it.
Node make(const std::string& name, const Attributes& attributes) {
  ElementKinds& kinds = ElementKinds::instance();
  ElementKind& kind = kinds.element(name);
  std::vector<NewAttribute> added;
  std::uint32_t expected = 0;
  for (const auto& [attribute, value] : attributes) {
    const std::uint32_t index = kinds.attributeIndex(kind, attribute.c_str(), expected);
    added.push_back({index, value});
    expected = index + 1;
  }
  kinds.publish(kind);
  Node node = make(kind.elementId);
  EXPECT_TRUE(assignAttributes(asElement(*node), added));
  return node;
}

// All attributes that the descriptor shows, by name.
std::map<std::string, std::u16string> read(ArbNode& node) {
  const ArbNodeType& type = *node.nodeType;
  std::map<std::string, std::u16string> values;
  for (std::uint32_t i = 0; i < type.attributeCount; ++i) {
    const auto* const value = reinterpret_cast<const char16_t*>(type.getAttribute(&node, i));
    EXPECT_EQ(value != nullptr, type.hasAttribute(&node, i) == 1);
    if (value) values[kindOf(node).attributes[i]->text] = value;
  }
  return values;
}

// What cloning does: a node of the same id, and every attribute that is present.
Node clone(ArbNode& source) {
  const ArbNodeType& type = *source.nodeType;
  Node copy = make(type.elementId);
  for (std::uint32_t i = 0; i < type.attributeCount; ++i) {
    if (!type.hasAttribute(&source, i)) continue;
    EXPECT_EQ(ARB_OK, copy->nodeType->setAttribute(copy.get(), i, type.getAttribute(&source, i)));
  }
  return copy;
}

void expectEqual(ArbNode& a, ArbNode& b) {
  EXPECT_EQ(1u, a.nodeType->isEqual(&a, &b));
  EXPECT_EQ(1u, b.nodeType->isEqual(&b, &a));
  EXPECT_EQ(a.nodeType->hash(&a), b.nodeType->hash(&b));
}

TEST(ElementKinds, EveryNameHasAnIdOfItsOwn) {
  ElementKinds& kinds = ElementKinds::instance();
  std::set<std::uint32_t> ids = {kinds.comment().elementId, kinds.instruction().elementId};
  std::set<std::uint32_t> attributeIds;
  constexpr std::size_t kNames = 40000;  // more than there are local ids
  for (std::size_t i = 0; i < kNames; ++i) {
    ElementKind& kind = kinds.element("name" + std::to_string(i));
    EXPECT_EQ(0u, kinds.attributeIndex(kind, ("a" + std::to_string(i)).c_str(), 0));
    kinds.publish(kind);
    ids.insert(kind.elementId);
    attributeIds.insert(kind.attributes[0]->attributeId);
    EXPECT_EQ(&kind, &kinds.element(kind.name));
    EXPECT_EQ(kind.elementId, make(kind.elementId)->nodeType->elementId);
    EXPECT_NE(0x37u, kind.attributes[0]->attributeId >> 24);
  }
  EXPECT_EQ(kNames + 2, ids.size());
  EXPECT_EQ(kNames, attributeIds.size());
}

TEST(ElementKinds, TheFactoryMakesNothingForIdsThatAreNotOurs) {
  for (const std::uint32_t id : {0u, ARB_ELEM_TEXT, ARB_ELEM_ROOT, 0xFFFFFFFFu, (64u + 31u) << 14, 63u << 14}) {
    EXPECT_EQ(nullptr, make(id)) << id;
  }
}

TEST(ElementNodes, AttributesAreThereWhateverTheirOrder) {
  const Node first = make("ordered", {{"a", "1"}, {"b", ""}, {"c", "drei \xC3\xA4\xF0\x9F\x8C\xB2"}});
  const Node second = make("ordered", {{"c", "x"}, {"d", "neu"}, {"a", "y"}});
  EXPECT_EQ((std::map<std::string, std::u16string>{{"a", u"1"}, {"b", u""}, {"c", u"drei \u00E4\U0001F332"}}),
            read(*first));
  EXPECT_EQ((std::map<std::string, std::u16string>{{"c", u"x"}, {"d", u"neu"}, {"a", u"y"}}), read(*second));
}

TEST(ElementNodes, AKindThatGrowsLeavesItsEarlierDescriptorsAlone) {
  const Node before = make("growing", {{"a", "1"}});
  const ArbNodeType* const type = before->nodeType;
  const std::uint32_t idOfFirst = type->attributes[0].attributeId;
  std::vector<Node> after;
  for (int i = 0; i < 50; ++i) after.push_back(make("growing", {{"b" + std::to_string(i), "2"}}));
  EXPECT_EQ(1u, type->attributeCount);
  EXPECT_EQ(idOfFirst, type->attributes[0].attributeId);
  EXPECT_EQ(51u, after.back()->nodeType->attributeCount);
  EXPECT_EQ(idOfFirst, after.back()->nodeType->attributes[0].attributeId);
  EXPECT_EQ(u"1", read(*before)["a"]);
  EXPECT_EQ(u"2", read(*after.front())["b0"]);
}

TEST(ElementNodes, EqualityAndHashAreOverAllAttributes) {
  const Attributes attributes = {{"a", "1"}, {"b", "2"}};
  const Node node = make("compared", attributes);
  expectEqual(*node, *make("compared", attributes));
  expectEqual(*node, *make("compared", {{"b", "2"}, {"a", "1"}}));
  for (const Attributes& other : std::vector<Attributes>{{},
                                                         {{"a", "1"}},
                                                         {{"a", "1"}, {"c", "2"}},
                                                         {{"a", "1"}, {"b", "3"}},
                                                         {{"a", "2"}, {"b", "1"}},
                                                         {{"a", "1"}, {"b", "2"}, {"c", ""}}}) {
    const Node different = make("compared", other);
    EXPECT_EQ(0u, node->nodeType->isEqual(node.get(), different.get()));
    EXPECT_NE(node->nodeType->hash(node.get()), different->nodeType->hash(different.get()));
  }
}

TEST(ElementNodes, ACloneIsEqual) {
  Attributes many;
  for (int i = 0; i < 2000; ++i)
    many.push_back({"a" + std::to_string(i), std::string(static_cast<std::size_t>(i), 'x')});
  for (const Attributes& attributes : std::vector<Attributes>{{}, {{"a", ""}}, {{"z", "1"}, {"a", "2"}}, many}) {
    const Node source = make("cloned", attributes);
    const Node copy = clone(*source);
    expectEqual(*source, *copy);
    EXPECT_EQ(read(*source), read(*copy));
  }
}

TEST(ElementNodes, SettingReplacesAndInsertsAndRefuses) {
  const Node node = make("set", {{"a", "1"}, {"b", "2"}, {"c", "3"}});
  const ArbNodeType& type = *node->nodeType;
  const auto set = [&](std::uint32_t index, std::uintptr_t value) {
    return type.setAttribute(node.get(), index, value);
  };
  const auto text = [](const char16_t* units) { return reinterpret_cast<std::uintptr_t>(units); };
  EXPECT_EQ(ARB_OK, set(1, text(u"two")));
  EXPECT_EQ(ARB_OK, set(2, type.getAttribute(node.get(), 1)));  // its own value, while the array moves
  EXPECT_EQ((std::map<std::string, std::u16string>{{"a", u"1"}, {"b", u"two"}, {"c", u"two"}}), read(*node));
  EXPECT_EQ(ARB_ERR_BADARG, set(3, text(u"x")));
  EXPECT_EQ(ARB_ERR_BADARG, set(0, 0));
  EXPECT_EQ(u"1", read(*node)["a"]);
  const Node sparse = make("set", {{"c", "3"}});
  EXPECT_EQ(ARB_OK, type.setAttribute(sparse.get(), 0, text(u"")));
  EXPECT_EQ((std::map<std::string, std::u16string>{{"a", u""}, {"c", u"3"}}), read(*sparse));
}

TEST(ElementNodes, ARecordMadeAgainHasNothingOfItsEarlierLife) {
  for (const std::size_t length : {std::size_t{1}, std::size_t{100000}}) {
    ArbNode* const earlier = make("recycled", {{"a", std::string(length, 'x')}, {"b", "y"}}).get();
    const Node node = make("recycled", {});
    if (length == 1) {
      EXPECT_EQ(earlier, node.get());
    }
    EXPECT_TRUE(read(*node).empty());
    EXPECT_EQ(sizeof(ElementNode), node->size);
    EXPECT_EQ(0u, node->childCount);
    EXPECT_EQ(nullptr, node->cell);
  }
}

}  // namespace
}  // namespace arbtree::tool
