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

bool plainlyEqualAttributes(ArbNode* a, ArbNode* b) {
  if (hasFunctions(a)) return a->nodeType->isEqual(a, b) != 0;
  return std::memcmp(areaOf(a), areaOf(b), a->size - sizeof(ArbNode)) == 0;
}

bool plainlyEqual(ArbNode* a, ArbNode* b) {
  if (a == b) return true;
  if (a->nodeType->elementId != b->nodeType->elementId || a->childCount != b->childCount) return false;
  if (!plainlyEqualAttributes(a, b)) return false;
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
  ArbNode* plain(ArbNode* parent, const std::string& area) {
    ArbNode* const node = host.append(parent, "p", plainKind(static_cast<std::uint32_t>(area.size())));
    std::copy(area.begin(), area.end(), areaOf(node));
    return node;
  }
};

TEST_F(Equality, OfNothingAndOfOtherKinds) {
  ArbNode* const abc = host.appendText(root, u"abc");
  EXPECT_EQ(1u, ArbNodeIsEqual(nullptr, nullptr));
  EXPECT_EQ(0u, ArbNodeIsEqual(abc, nullptr));
  EXPECT_EQ(0u, ArbNodeIsEqual(nullptr, abc));
  EXPECT_EQ(0u, ArbNodeAttributesAreEqual(abc, nullptr));
  EXPECT_EQ(0u, ArbNodeHashCode(nullptr));
  EXPECT_EQ(0u, ArbNodeIsEqual(abc, host.appendText(root, u"abc", ARB_ELEM_TEXT_3))) << "kinds differ";
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

// Small random subtrees of all kinds of areas, many of them equal, some with freed children: those still count, but
// have no pair, so a comparison ends with the shorter list.
TEST_F(Equality, RandomSubtreesAgreeWithTheRecursion) {
  std::mt19937 random(testSeed());
  // Of few sizes, now and then with another byte somewhere.
  const auto anyArea = [&] {
    std::string area = std::string("123456789").substr(random() % 10);
    if (random() % 4 == 0 && !area.empty()) area[random() % area.size()] ^= 1;
    return area;
  };
  const auto append = [&](ArbNode* parent) {
    switch (random() % 4) {
      case 0:
        return host.appendText(parent, random() % 2 ? u"x" : u"");
      case 1:
        return plain(parent, anyArea());
      case 2: {
        ArbNode* const node = host.append(parent, "k", kAttributeKind);
        asAttributes(node).present = random() % 2 * 4;
        asAttributes(node).values[2] = random() % 2;
        asAttributes(node).unseen = random() % 2;
        return node;
      }
      default:
        return host.append(parent, "e");
    }
  };
  std::vector<ArbNode*> tops;
  for (int i = 0; i < 300; ++i) {
    tops.push_back(append(root));
    std::vector<ArbNode*> nodes = {tops.back()};
    for (std::size_t size = random() % 6; size > 0; --size) nodes.push_back(append(nodes[random() % nodes.size()]));
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
      if (a->nodeType != b->nodeType) continue;
      ASSERT_EQ(plainlyEqualAttributes(a, b) ? 1u : 0u, ArbNodeAttributesAreEqual(a, b));
    }
  }
  EXPECT_LT(100u, equal);
  EXPECT_EQ(plainHash(root), ArbNodeHashCode(root));
}

}  // namespace
}  // namespace arbtree::test
