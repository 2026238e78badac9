// Freeing within the event of freeing, and without a destroyer. When nodes are freed, and in which order
// events, links and destroyers follow, is part of the random calls (tests/tree/random_test.cpp).
#include "support/host.h"

namespace arbtree::test {
namespace {

using Freeing = TreeTest;

// The callback that is told of it frees the node once more.
TEST_F(Freeing, FreeingWithinFreeing) {
  ArbNode* const top = host.make(tree, "top");
  host.append(top, "a");
  host.record(true);
  const auto again = [](ArbDocument*, std::uint32_t event, void* node, void*) -> std::uint32_t {
    if (event == ARB_EVENT_NODE_FREED) ok(ArbNodeDestroy(static_cast<ArbNode*>(node)));
    return 0;
  };
  ok(ArbDocumentRegisterCallback(host.document, again, nullptr));
  ok(ArbNodeDestroy(top));
  EXPECT_EQ((Lines{"freed top", "destroy a", "destroy top"}), host.events.take());
  ok(ArbDocumentUnregisterCallback(host.document, again));
}

// A node whose destroyer cannot be found is settled like any other, but its record stays.
TEST_F(Freeing, ANodeWithoutDestroyerKeepsItsRecord) {
  ArbNode* const top = host.make(tree, "top");
  ArbNode* const a = host.append(top, "a");
  ArbNodeRef* const cell = a->cell;
  const std::uint32_t number = a->number;
  const ArbNodeType* const type = a->nodeType;
  ArbNodeType foreign{};
  foreign.elementId = elementId(1, 6);
  a->nodeType = &foreign;
  ok(ArbNodeSetMetadata(a, 1, "abcdefgh", 8));
  host.record(true);
  EXPECT_EQ(ARB_ERR_NOTFOUND, ArbNodeDestroy(a));
  EXPECT_EQ((Lines{"freed a"}), host.events.take());
  EXPECT_EQ("top", host.shape(top));
  EXPECT_EQ(ARB_REF_FREED, cell->state);
  EXPECT_EQ(number, cell->value);
  EXPECT_EQ(nullptr, a->metadata);
  a->nodeType = type;
  destroyElement(a);
  ok(ArbNodeDestroy(top));
}

}  // namespace
}  // namespace arbtree::test
