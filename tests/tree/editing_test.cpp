// Nodes of another tree are refused in every child list, after what is said about the node and the list. All other
// checks and effects of linking, inserting, removing and moving are part of the random calls (random_test.cpp).
#include <gtest/gtest.h>

#include "support/host.h"

namespace arbtree::test {
namespace {

TEST(Editing, NodesOfAnotherTreeAreRefused) {
  Host host(1);
  ArbNode* const root = rootOf(host.makeTree());
  ArbNode* const target = host.append(root, "target");
  ArbNode* const node = host.make(host.makeTree(), "node");
  host.record();
  for (const ArbStatus status : {ARB_ERR_FOREIGN, ARB_ERR_CLOSED, ARB_ERR_ATTACHED}) {
    if (status == ARB_ERR_CLOSED) {
      ok(ArbNodeAllChildrenAttached(target));
    } else if (status == ARB_ERR_ATTACHED) {
      ok(ArbNodeAppendChild(rootOf(node->tree), node));
    }
    host.events.take();
    EXPECT_EQ(status, ArbNodeAppendChild(target, node));
    EXPECT_EQ(status, ArbNodeInsertSiblingBefore(target, node));
    EXPECT_EQ(Lines{}, host.events.take());
    EXPECT_EQ("root(target)", host.shape(root));
  }
}

}  // namespace
}  // namespace arbtree::test
