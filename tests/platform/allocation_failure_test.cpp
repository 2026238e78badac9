// Each allocation of a scenario fails in turn, once and for ever after. Whatever the calls answered: nothing crashes or
// leaks, what was refused has changed nothing, and the document can still be used and destroyed.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/heap.h"
#include "support/failing_heap.h"
#include "support/host.h"
#include "tree/cell_pool.h"

namespace arbtree::test {
namespace {

bool succeeded(ArbStatus status, ArbStatus refusal = ARB_ERR_NOMEMORY) {
  EXPECT_TRUE(status == ARB_OK || (status == refusal && heap::testing::failureFired())) << status;
  return status == ARB_OK;
}

// The document takes a whole small life after the failure.
void useAndDestroy(Host& host) {
  heap::testing::stopFailing();
  ArbNode* const root = rootOf(host.makeTree());
  host.append(host.append(root, "u"), "v");
  EXPECT_EQ("root(u(v))", host.shape(root));
  EXPECT_EQ(ARB_OK, ArbForestProducerReleaseSubtree(host.document->rootForest));
  host.destroy();
}

TEST(AllocationFailure, Documents) {
  failEachAllocation(2, [](const auto& arm) {
    ArbHostContext context{};
    ArbDocument* const untouched = reinterpret_cast<ArbDocument*>(&context);
    ArbDocument* document = untouched;
    arm();
    const bool made = succeeded(ArbDocumentCreate(0, &context, u"%n.%e", 0, 0, &document));
    heap::testing::stopFailing();
    EXPECT_EQ(made, document != nullptr && document != untouched);
    if (made) {
      EXPECT_EQ(ARB_OK, ArbDocumentDestroy(document));
    }
  });
}

TEST(AllocationFailure, ChildDocuments) {
  failEachAllocation(8, [](const auto& arm) {
    Host host;
    ArbForest* const root = host.document->rootForest;
    std::uint32_t appended = 0;
    arm();
    for (int i = 0; i < 3; ++i) {
      ArbForest* forest = nullptr;
      if (succeeded(ArbDocumentCreateForest(host.document, u"f", &forest))) {
        EXPECT_EQ(ARB_OK, ArbForestAppendChild(root, asChild(forest)));
        EXPECT_EQ(ARB_OK, ArbForestChildSetMetadata(asChild(forest), 1, "1234", 4));
        EXPECT_EQ(ARB_OK, ArbForestChildSetMetadata(asChild(forest), 2, "12345", 5));
        ++appended;
      }
      // The root's record and its cell fail with different answers.
      ArbTree* tree = reinterpret_cast<ArbTree*>(root);
      const ArbStatus status = ArbDocumentCreateTree(host.document, u"t", &tree);
      if (succeeded(status, status == ARB_ERR_NOTFOUND ? ARB_ERR_NOTFOUND : ARB_ERR_NOMEMORY)) {
        EXPECT_EQ(ARB_OK, ArbForestAppendChild(root, asChild(tree)));
        EXPECT_NE(nullptr, rootOf(tree));
        ++appended;
      }
    }
    heap::testing::stopFailing();
    EXPECT_EQ(appended, root->childCount);
    useAndDestroy(host);
  });
}

TEST(AllocationFailure, NodesAndTheirValues) {
  failEachAllocation(20, [](const auto& arm) {
    Host host;
    EXPECT_EQ(ARB_STATUS_END, ArbDocumentReadAhead(host.document));
    ArbTree* const tree = host.makeTree();
    ArbNode* const root = rootOf(tree);
    std::uint32_t appended = 0;
    arm();
    for (const std::uint32_t id : {elementId(1), ARB_ELEM_TEXT, ARB_ELEM_TEXT_3, ARB_ELEM_TEXT_4, elementId(2),
                                   ARB_ELEM_ENCODED_BYTES, ARB_ELEM_EXTERNAL_REFERENCE}) {
      ArbNode* node = nullptr;
      const std::uint32_t number = host.document->nodeCounter;
      const ArbStatus status = ArbTreeCreateNode(tree, id, nullptr, &node);
      const bool listFailed = id == ARB_ELEM_EXTERNAL_REFERENCE && status == ARB_ERR_NOMEMORY;
      if (!succeeded(status, listFailed ? ARB_ERR_NOMEMORY : ARB_ERR_NOTFOUND)) {
        EXPECT_EQ(nullptr, node);
        EXPECT_EQ(number, host.document->nodeCounter);
        continue;
      }
      EXPECT_EQ(ARB_OK, ArbNodeAppendChild(root, node));
      ++appended;
      EXPECT_EQ(ARB_OK, ArbNodeSetMetadata(node, 1, "123", 3));
      EXPECT_EQ(ARB_OK, ArbNodeSetMetadata(node, 1, "123456789", 9));
      if (node->nodeType->setAttribute) {
        if (succeeded(ArbAbstractTextNodeSetValue(node, u"first", 5))) {
          const std::uintptr_t value = reinterpret_cast<std::uintptr_t>(u"second");
          succeeded(node->nodeType->setAttribute(node, 0, value));
        }
      }
    }
    heap::testing::stopFailing();
    EXPECT_EQ(appended, root->childCount);
    useAndDestroy(host);
  });
}

TEST(AllocationFailure, TheSeventeenthBlockOfCells) {
  failEachAllocation(2, [](const auto& arm) {
    Host host;
    ArbTree* const tree = host.makeTree();
    for (std::uint32_t i = 1; i < 16 * kCellsPerBlock; ++i) takeCell(*tree);
    EXPECT_EQ(16u, tree->cellBlockCount);
    host.record();
    arm();
    ArbNode* node = nullptr;
    const ArbStatus status = ArbTreeCreateNode(tree, elementId(1), nullptr, &node);
    heap::testing::stopFailing();
    const bool noRecord = status == ARB_ERR_NOTFOUND;
    if (!succeeded(status, noRecord ? ARB_ERR_NOTFOUND : ARB_ERR_NOMEMORY)) {
      EXPECT_EQ(nullptr, node);
      EXPECT_EQ((Lines{"created null"}), host.events.take());
      node = host.make(tree, "again");
    }
    EXPECT_EQ(16u * kCellsPerBlock, [&] {
      std::uint32_t used = 0;
      for (std::uint32_t b = 0; b < 16; ++b) used += tree->cellBlocks[b]->usedCount;
      return used;
    }());
    EXPECT_EQ(node->cell, &tree->cellBlocks[16]->cells[0]);
    EXPECT_EQ(ARB_OK, ArbNodeAppendChild(rootOf(tree), node));
    useAndDestroy(host);
  });
}

TEST(AllocationFailure, TheListOfExternalReferences) {
  failEachAllocation(2, [](const auto& arm) {
    Host host;
    EXPECT_EQ(ARB_STATUS_END, ArbDocumentReadAhead(host.document));
    ArbTree* const tree = host.makeTree();
    const auto make = [&] {
      ArbNode* node = nullptr;
      const ArbStatus status = ArbTreeCreateNode(tree, ARB_ELEM_EXTERNAL_REFERENCE, nullptr, &node);
      EXPECT_EQ(status == ARB_OK, node != nullptr);
      if (node) {
        EXPECT_EQ(ARB_OK, ArbNodeAppendChild(rootOf(tree), node));
      }
      return status;
    };
    for (int i = 0; i < 256; ++i) EXPECT_EQ(ARB_OK, make());
    EXPECT_EQ(256u, tree->externalRefCount);
    arm();
    const ArbStatus status = make();
    heap::testing::stopFailing();
    succeeded(status, status == ARB_ERR_NOTFOUND ? ARB_ERR_NOTFOUND : ARB_ERR_NOMEMORY);
    EXPECT_EQ(ARB_OK, make());
    EXPECT_EQ(rootOf(tree)->childCount, tree->externalRefCount);
    useAndDestroy(host);
  });
}

std::uint32_t ARB_CALL countHook(std::uintptr_t, void* context) { return ++*static_cast<std::uint32_t*>(context); }

TEST(AllocationFailure, Hooks) {
  failEachAllocation(4, [](const auto& arm) {
    Host host;
    ArbTree* const tree = host.makeTree();
    std::uint32_t calls = 0;
    std::uint32_t registered = 0;
    arm();
    for (int i = 0; i < 130; ++i) {
      if (succeeded(ArbTreeSetProducerNodeHook(tree, ARB_HOOK_NODE, 7, countHook, &calls))) ++registered;
    }
    ArbSavedHooks* saved = nullptr;
    if (succeeded(ArbTreeSaveProducerNodeHooks(tree, &saved))) {
      succeeded(ArbTreeSetProducerNodeHook(tree, ARB_HOOK_NODE, 8, countHook, &calls));
      EXPECT_EQ(ARB_OK, ArbTreeRestoreProducerNodeHooks(tree, saved));
    }
    heap::testing::stopFailing();
    EXPECT_EQ(ARB_OK, ArbTreeCallProducerNodeHook(tree, ARB_HOOK_NODE, 7, rootOf(tree), nullptr));
    EXPECT_EQ(registered, calls);
    useAndDestroy(host);
  });
}

TEST(AllocationFailure, Callbacks) {
  failEachAllocation(3, [](const auto& arm) {
    Host host;
    std::size_t registered = 0;
    arm();
    for (int i = 0; i < 3; ++i) {
      if (succeeded(ArbDocumentRegisterCallback(host.document, Recorder::onEvent, &host.events))) ++registered;
    }
    heap::testing::stopFailing();
    ArbDocumentDoCallback(host.document, 100, nullptr);
    EXPECT_EQ(registered, host.events.take().size());
    EXPECT_EQ(registered, host.document->callbackCount);
    useAndDestroy(host);
  });
}

// Nothing that completes, releases, frees or walks may need memory.
TEST(AllocationFailure, WalksNeedNoMemory) {
  for (const bool producerFirst : {false, true}) {
    SCOPED_TRACE(producerFirst);
    failEachAllocation(0, [&](const auto& arm) {
      const std::uint64_t elements = liveElements();
      Host host;
      ArbForest* forest = host.document->rootForest;
      for (int depth = 0; depth < 100; ++depth) {
        ArbForest* nested = nullptr;
        EXPECT_EQ(ARB_OK, ArbDocumentCreateForest(host.document, u"", &nested));
        EXPECT_EQ(ARB_OK, ArbForestAppendChild(forest, asChild(nested)));
        forest = nested;
      }
      ArbTree* const tree = host.makeTree();
      ArbNode* const top = host.make(tree, "top");
      ArbNode* parent = top;
      for (int depth = 0; depth < 5000; ++depth) {
        host.append(parent, "leaf");
        parent = host.append(parent, "deep");
        host.append(parent, "leaf");
      }
      ArbNode* const loose = host.make(tree, "loose");
      host.append(host.append(loose, "below"), "lowest");
      arm();
      EXPECT_EQ(ARB_OK, ArbNodeAppendChild(rootOf(tree), top));
      EXPECT_EQ(ARB_OK, ArbNodeProducerDoneSubtree(rootOf(tree)));
      if (producerFirst) {
        EXPECT_EQ(ARB_OK, ArbForestProducerReleaseSubtree(host.document->rootForest));
      }
      EXPECT_EQ(ARB_OK, ArbForestConsumerReleaseSubtree(host.document->rootForest));
      if (!producerFirst) {
        EXPECT_EQ(ARB_OK, ArbForestProducerReleaseSubtree(host.document->rootForest));
      }
      EXPECT_EQ(elements + 3, liveElements());
      EXPECT_EQ(ARB_OK, ArbNodeDestroy(loose));
      EXPECT_EQ(elements, liveElements());
      host.destroy();
    });
  }
}

}  // namespace
}  // namespace arbtree::test
