// Linking, inserting, removing and moving children: checks in order, the links afterwards, and what joins the tree.
#include <gtest/gtest.h>

#include <functional>

#include "support/host.h"

namespace arbtree::test {
namespace {

// Every refusal is the first check that fails, and changes nothing.
TEST(Editing, ChecksInOrder) {
  constexpr std::uint32_t kLinked = 1, kClosed = 2, kForeign = 4, kAttributes = 8, kToClosed = 16, kInTree = 32,
                          kSame = 64;
  struct Row {
    const char* call;
    std::uint32_t mode;
    std::uint32_t state;
    ArbStatus status;
  };
  const Row rows[] = {
      {"append", 0, 0, ARB_OK},
      {"append", 0, kLinked | kClosed | kForeign, ARB_ERR_ATTACHED},
      {"append", 0, kClosed | kForeign, ARB_ERR_CLOSED},
      {"append", 0, kForeign, ARB_ERR_FOREIGN},
      {"append", 1, kForeign, ARB_ERR_FOREIGN},
      {"insert", 0, kLinked | kClosed | kForeign, ARB_ERR_MODE},
      {"insert", 1, kLinked | kClosed | kForeign, ARB_ERR_ATTACHED},
      {"insert", 1, kClosed | kForeign, ARB_ERR_CLOSED},
      {"insert", 1, kForeign, ARB_ERR_FOREIGN},
      {"insert", 1, 0, ARB_OK},
      {"remove", 0, kLinked, ARB_ERR_MODE},
      {"remove", 1, 0, ARB_ERR_DETACHED},
      {"remove", 1, kLinked, ARB_OK},
      {"transfer", 0, kAttributes | kClosed | kToClosed | kInTree | kSame, ARB_ERR_LOCKED},
      {"transfer", 0, kClosed, ARB_ERR_CLOSED},
      {"transfer", 0, kToClosed, ARB_ERR_CLOSED},
      {"transfer", 0, kInTree, ARB_ERR_CLOSED},
      {"transfer", 0, kInTree | kSame, ARB_ERR_CLOSED},
      {"transfer", 0, kSame, ARB_ERR_BADARG},
      {"transfer", 0, 0, ARB_OK},
      {"transfer", 1, kInTree | kSame, ARB_ERR_BADARG},
      {"transfer", 1, kInTree, ARB_OK},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.call << ", mode " << row.mode << ", state " << row.state);
    Host host(row.mode);
    ArbTree* const tree = host.makeTree();
    ArbTree* const otherTree = row.state & kForeign ? host.makeTree() : tree;
    ArbNode* const root = rootOf(tree);
    ArbNode* const target = host.append(root, "target");  // parent, reference, or where children move to
    ArbNode* const node = host.make(otherTree, "node");
    host.append(node, "x");
    if (row.state & (kLinked | kInTree)) {
      EXPECT_EQ(ARB_OK, ArbNodeAppendChild(rootOf(otherTree), node));
    }
    const bool transfer = std::string(row.call) == "transfer";
    if (row.state & kClosed) {
      EXPECT_EQ(ARB_OK, ArbNodeAllChildrenAttached(transfer ? node : target));
    }
    if (row.state & kToClosed) {
      EXPECT_EQ(ARB_OK, ArbNodeAllChildrenAttached(target));
    }
    if (row.state & kAttributes) {
      EXPECT_EQ(ARB_OK, ArbNodeAttributesDone(node));
    }
    const std::string before = host.shape(root) + host.shape(node);
    host.record();
    const std::function<ArbStatus()> call = [&]() -> ArbStatus {
      if (transfer) return ArbNodeTransferChildren(node, row.state & kSame ? node : target);
      if (std::string(row.call) == "append") return ArbNodeAppendChild(target, node);
      if (std::string(row.call) == "insert") return ArbNodeInsertSiblingBefore(target, node);
      return ArbNodeRemoveFromTree(node);
    };
    EXPECT_EQ(row.status, call());
    EXPECT_EQ(row.status == ARB_OK, before != host.shape(root) + host.shape(node));
    if (row.status != ARB_OK) {
      EXPECT_EQ(Lines{}, host.events.take());
    }
    if (!(node->flags & ARB_NODE_LINKED)) {
      EXPECT_EQ(ARB_OK, ArbNodeDestroy(node));
    }
  }
}

}  // namespace
}  // namespace arbtree::test
