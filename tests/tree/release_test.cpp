// The consumer's release of a subtree while the producer works, and releases that callbacks make. Everything else about
// releases is part of the random calls (tests/tree/random_test.cpp).
#include "support/host.h"

namespace arbtree::test {
namespace {

// A callback within a run releases the node at which a walk waits, which frees it: the walk ends, and what it has not
// come to stays.
TEST(ReleaseByACallback, EndsTheWalkOrWaitAtTheNode) {
  for (const bool bySibling : {true, false}) {
    Host host;
    ArbNode* const root = rootOf(host.makeTree());
    const auto releaseEarlier = [](ArbDocument*, std::uint32_t event, void* node, void*) -> std::uint32_t {
      if (event != ARB_EVENT_NODE_LINKED) return 0;
      ArbNode* const previous = resolve(static_cast<ArbNode*>(node)->prevSiblingCell);
      if (previous) ok(ArbNodeConsumerRelease(previous));
      return 0;
    };
    ok(ArbDocumentRegisterCallback(host.document, releaseEarlier, nullptr));
    for (const char* const name : {"a", "b", "c"}) {
      host.then([&host, root, name] { return ok(ArbNodeProducerRelease(host.append(root, name))), kPause; });
    }
    host.then([root] { return ArbNodeProducerRelease(root); });
    if (bySibling) {
      EXPECT_EQ(ARB_OK, ArbNodeConsumerReleaseSubtree(root));
    } else {
      ArbNode *first = nullptr, *next = root;
      ok(ArbNodeWaitFirstChild(root, &first));
      EXPECT_EQ(ARB_OK, ArbNodeWaitNextSibling(first, &next));
      EXPECT_EQ(nullptr, next);
    }
    EXPECT_FALSE(root->flags & ARB_NODE_CONSUMER_RELEASED);
    EXPECT_EQ(1u, root->freedChildCount);
    ok(ArbDocumentUnregisterCallback(host.document, releaseEarlier));
  }
}

using ReleaseOfASubtree = TreeTest;

// Each child is released as soon as its next sibling is known, while the producer is still making the list.
TEST_F(ReleaseOfASubtree, DrivesTheProducer) {
  ArbNode* const a = host.append(root, "a");
  const auto add = [&](const char* name) {
    return [this, a, name] { return ArbNodeProducerRelease(host.append(a, name)) == ARB_OK ? kPause : 13u; };
  };
  const auto idle = [this] { return host.events.add("idle"), kPause; };
  host.then(add("b")).then(add("c")).then(idle).then(add("d")).then(idle);
  host.then([a] { return ArbNodeProducerRelease(a); });
  host.then([this] { return ArbNodeProducerRelease(root); });
  host.record();
  ok(ArbNodeConsumerReleaseSubtree(a));
  Lines lines = host.events.take();
  std::erase_if(lines, [](const std::string& line) {
    return line.starts_with("linked") || line.starts_with("in-tree") || line.starts_with("attributes") ||
           line.starts_with("children") || line.starts_with("producer");
  });
  EXPECT_EQ((Lines{"created b", "created c", "consumer-release b", "freed b", "idle", "created d", "consumer-release c",
                   "freed c", "idle", "consumer-release d", "freed d", "consumer-release a", "freed a"}),
            lines);
  EXPECT_EQ("root", host.shape(root));
}

TEST_F(ReleaseOfASubtree, AnswersTheFailureOfItsOwnLastWait) {
  host.endResult = 13;
  ArbNode* const a = host.append(root, "a");
  ArbNode* const b = host.append(a, "b");
  EXPECT_EQ(13u, ArbNodeConsumerReleaseSubtree(a));
  for (const ArbNode* const node : {a, b}) EXPECT_TRUE(node->flags & ARB_NODE_CONSUMER_RELEASED);
}

}  // namespace
}  // namespace arbtree::test
