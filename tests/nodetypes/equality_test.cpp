// Equality and hashing of nodes and subtrees, against the same questions asked recursively.
#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "support/attribute_kinds.h"
#include "support/host.h"
#include "support/seed.h"

namespace arbtree::test {
namespace {

std::vector<ArbNode*> childrenOf(const ArbNode* node) {
  std::vector<ArbNode*> children;
  for (ArbNode* child = resolve(node->firstChildCell); child; child = resolve(child->nextSiblingCell)) {
    children.push_back(child);
  }
  return children;
}

bool hasFunctions(const ArbNode* node) { return (node->nodeType->typeFlags & ARB_TYPE_ATTR_FUNCTIONS) != 0; }

bool plainlyEqual(ArbNode* a, ArbNode* b) {
  if (a == b) return true;
  if (a->nodeType->elementId != b->nodeType->elementId || a->childCount != b->childCount) return false;
  const std::size_t area = a->size - sizeof(ArbNode);
  if (hasFunctions(a) ? !a->nodeType->isEqual(a, b) : std::memcmp(areaOf(a), areaOf(b), area) != 0) return false;
  const std::vector<ArbNode*> left = childrenOf(a);
  const std::vector<ArbNode*> right = childrenOf(b);
  for (std::size_t i = 0; i < std::min(left.size(), right.size()); ++i) {
    if (!plainlyEqual(left[i], right[i])) return false;
  }
  return true;
}

std::uint32_t plainHash(ArbNode* node) {
  std::uint32_t hash = node->childCount ^ node->nodeType->elementId;
  if (hasFunctions(node)) {
    hash ^= node->nodeType->hash(node);
  } else {
    std::vector<std::uint8_t> area(areaOf(node), areaOf(node) + node->size - sizeof(ArbNode));
    const std::size_t words = area.size() / 4 * 4;
    for (std::size_t i = 0; i < words; ++i) hash ^= static_cast<std::uint32_t>(area[i]) << (8 * (i % 4));
    for (std::size_t i = words; i < area.size(); ++i) hash ^= area[i];
  }
  for (ArbNode* const child : childrenOf(node)) hash ^= plainHash(child);
  return hash;
}

class Equality : public TreeTest {
 protected:
  Equality() : TreeTest(1) { addAttributeKinds(tree); }
  ArbNode* text(ArbNode* parent, const std::u16string& value) { return host.appendText(parent, value); }
  ArbNode* plain(ArbNode* parent, const std::string& area) {
    ArbNode* const node = host.append(parent, "p", plainKind(static_cast<std::uint32_t>(area.size())));
    std::copy(area.begin(), area.end(), areaOf(node));
    return node;
  }
};

TEST_F(Equality, OfNothingAndOfOtherKinds) {
  ArbNode* const abc = text(root, u"abc");
  EXPECT_EQ(1u, ArbNodeIsEqual(nullptr, nullptr));
  EXPECT_EQ(0u, ArbNodeIsEqual(abc, nullptr));
  EXPECT_EQ(0u, ArbNodeIsEqual(nullptr, abc));
  EXPECT_EQ(0u, ArbNodeAttributesAreEqual(abc, nullptr));
  EXPECT_EQ(0u, ArbNodeHashCode(nullptr));
  EXPECT_EQ(0u, ArbNodeIsEqual(abc, host.appendText(root, u"abc", ARB_ELEM_TEXT_3))) << "kinds differ";
}

// An area with functions counts as they say, whatever else is in it.
TEST_F(Equality, OfAttributesWithFunctions) {
  ArbNode* const a = host.append(root, "a", kAttributeKind);
  ArbNode* const b = host.append(root, "b", kAttributeKind);
  asAttributes(b).unseen = 9;
  asAttributes(b).values[2] = 5;
  EXPECT_EQ(1u, ArbNodeAttributesAreEqual(a, b)) << "the operation does not see the difference";
  EXPECT_EQ(ArbNodeHashCode(a), ArbNodeHashCode(b));
  EXPECT_EQ(kAttributeKind ^ a->nodeType->hash(a), ArbNodeHashCode(a));
  asAttributes(b).present = 4;
  EXPECT_EQ(0u, ArbNodeAttributesAreEqual(a, b));
}

// Plain areas are compared over the length of the first node's.
TEST_F(Equality, OfAreasOfDifferentSizes) {
  ArbNode* const half = plain(root, "abcdefgh");
  ArbNode* const whole = plain(root, "abcdefgh");
  half->size = sizeof(ArbNode) + 4;
  EXPECT_EQ(1u, ArbNodeAttributesAreEqual(half, whole));
  EXPECT_EQ(0u, ArbNodeAttributesAreEqual(whole, half)) << "nothing behind the shorter area is looked at";
  EXPECT_EQ(0u, ArbNodeAttributesAreEqual(plain(root, "abcx"), whole));
}

TEST_F(Equality, OfChildren) {
  ArbNode* const twice = host.append(root, "bb", plainKind(4));
  std::copy_n("\x01\x02\x03\x04", 4, areaOf(twice));
  text(twice, u"b"), text(twice, u"b");
  EXPECT_EQ(2u ^ plainKind(4) ^ 0x04030201, ArbNodeHashCode(twice)) << "equal children cancel out";
  // A freed child still counts, but has no pair: the comparison ends with the shorter list.
  ArbNode* const ab = host.append(root, "ab");
  text(ab, u"a"), text(ab, u"b");
  ArbNode* const ba = host.append(root, "ba");
  text(ba, u"b"), text(ba, u"a");
  EXPECT_EQ(0u, ArbNodeIsEqual(ab, ba));
  ok(ArbNodeProducerRelease(resolve(ab->firstChildCell)));
  EXPECT_EQ(1u, ArbNodeIsEqual(ab, ba)) << "b is left of both a b";
}

// Small random subtrees of all kinds of areas, many of them equal, some with freed children.
TEST_F(Equality, RandomSubtreesAgreeWithTheRecursion) {
  std::mt19937 random(testSeed());
  // Of few sizes, now and then with another byte somewhere.
  const auto anyArea = [&] {
    std::string area = std::string("123456789").substr(random() % 10);
    if (random() % 4 == 0 && !area.empty()) area[random() % area.size()] ^= 1;
    return area;
  };
  std::vector<ArbNode*> tops;
  for (int i = 0; i < 300; ++i) {
    tops.push_back(i % 2 ? host.append(root, "top", elementId(1)) : plain(root, anyArea()));
    std::vector<ArbNode*> nodes = {tops.back()};
    for (std::size_t size = random() % 6; size > 0; --size) {
      ArbNode* const parent = nodes[random() % nodes.size()];
      switch (random() % 4) {
        case 0:
          nodes.push_back(text(parent, random() % 2 ? u"x" : u""));
          break;
        case 1:
          nodes.push_back(plain(parent, anyArea()));
          break;
        case 2:
          nodes.push_back(host.append(parent, "k", kAttributeKind));
          asAttributes(nodes.back()).present = random() % 2;
          break;
        default:
          nodes.push_back(host.append(parent, "e", elementId(1)));
      }
    }
    if (ArbNode* const first = resolve(tops.back()->firstChildCell); first && random() % 3 == 0) {
      ok(ArbNodeProducerReleaseSubtree(first));
    }
  }
  std::size_t equal = 0;
  for (ArbNode* const a : tops) {
    ASSERT_EQ(plainHash(a), ArbNodeHashCode(a));
    for (ArbNode* const b : tops) {
      ASSERT_EQ(plainlyEqual(a, b) ? 1u : 0u, ArbNodeIsEqual(a, b)) << host.shape(a) << " and " << host.shape(b);
      if (a != b && plainlyEqual(a, b)) ++equal;
      if (a->size != b->size) continue;
      const bool sameArea = std::memcmp(areaOf(a), areaOf(b), a->size - sizeof(ArbNode)) == 0;
      ASSERT_EQ(sameArea ? 1u : 0u, ArbNodeAttributesAreEqual(a, b));
    }
  }
  EXPECT_LT(100u, equal);
  EXPECT_EQ(plainHash(root), ArbNodeHashCode(root));
}

}  // namespace
}  // namespace arbtree::test
