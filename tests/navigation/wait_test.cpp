// Waits on a node that goes meanwhile. What waits answer and how many runs they take, also of a producer that fails, is
// part of the random calls (tests/tree/random_test.cpp).
#include "support/host.h"
#include "tree/tree.h"

namespace arbtree::test {
namespace {

// The consumer has released the node, a run frees it, and the next node of its kind gets its cell and its record.
TEST(WaitingOnAFreedNode, EndsAlsoWhereAnotherNodeTakesItsPlace) {
  using Call = ArbStatus (*)(ArbNode*);
  static std::uint32_t elementsEnded;
  elementsEnded = 0;
  const Call calls[] = {
      [](ArbNode* node) { return ArbNodeWaitAttributesDone(node); },
      [](ArbNode* node) { return ArbNodeWaitAllChildrenAttached(node); },
      [](ArbNode* node) { return ArbNodeWaitProducerDone(node); },
      [](ArbNode* node) {
        ArbString* name = nullptr;
        const ArbStatus status = ArbNodeRefWaitIdString(node->cell, node->tree->child.document, &name);
        return name ? ARB_ERR_BADARG : status;
      },
      [](ArbNode* node) {
        ArbTraverserCallbacks callbacks = {};
        callbacks.endElement = [](ArbNode*, std::uint32_t, void*) -> std::uint32_t { return ++elementsEnded; };
        return ArbDocumentOrderTraverser(node, &callbacks, nullptr) == 1 ? ARB_OK : ARB_ERR_BADARG;
      },
  };
  int number = 0;
  for (const Call call : calls) {
    SCOPED_TRACE(testing::Message() << "call " << number++);
    Host host;
    ArbNode* const root = rootOf(host.makeTree());
    host.then([] { return kPause; }).then([&] {
      ArbNode* const first = resolve(root->firstChildCell);
      host.append(root, "b");
      EXPECT_EQ(ARB_OK, ArbNodeProducerRelease(first));
      host.append(root, "c", ARB_ELEM_EXTERNAL_REFERENCE);
      return kPause;
    });
    EXPECT_EQ(ARB_OK, ArbDocumentReadAhead(host.document));
    ArbNode* const a = host.append(root, "a", ARB_ELEM_EXTERNAL_REFERENCE);
    EXPECT_EQ(ARB_OK, ArbNodeConsumerRelease(a));
    EXPECT_EQ(ARB_OK, call(a));
    EXPECT_EQ(2u, host.runs.size());
  }
  EXPECT_EQ(0u, elementsEnded);
}

}  // namespace
}  // namespace arbtree::test
