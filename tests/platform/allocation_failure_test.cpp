// Each allocation fails in turn, once and for ever after. Whatever the calls answered: nothing crashes or leaks, what
// was refused has changed nothing, and the document can still be used and destroyed.
#include <cstring>
#include <functional>
#include <set>
#include <string>

#include "document/document.h"
#include "platform/heap.h"
#include "support/every_function.h"
#include "support/failing_heap.h"
#include "support/failing_new.h"
#include "support/host.h"
#include "tree/cell_pool.h"

namespace arbtree::test {
namespace {

// A refusal: no memory, or a factory that made no node.
void expectRefusal(ArbStatus status) {
  EXPECT_TRUE(status == ARB_ERR_NOMEMORY || status == ARB_ERR_NOTFOUND) << status;
  EXPECT_TRUE(heap::testing::failureFired()) << status;
}

// The document takes a whole small life after the failure.
void useAndDestroy(Host& host) {
  heap::testing::stopFailing();
  ArbNode* const root = rootOf(host.makeTree());
  host.append(host.append(root, "u"), "v");
  EXPECT_EQ("root(u(v))", host.shape(root));
  ok(ArbForestProducerReleaseSubtree(host.document->rootForest));
  host.destroy();
}

TEST(AllocationFailure, EveryFunction) {
  std::set<std::string> allocating;
  for (const FunctionCall& row : everyFunction()) {
    SCOPED_TRACE(row.function);
    failEachAllocation(0, [&](const auto& arm) {
      Content content(row.mode);
      content.run([&] {
        arm();
        const std::uint32_t answer = row.call(content);
        if (heap::testing::failureFired()) allocating.insert(row.function);
        heap::testing::stopFailing();
        if (answer != row.expected) expectRefusal(answer);
      });
      content.clear();
    });
  }
  // References find room in what their content has already; full tables are below.
  EXPECT_EQ(22u, allocating.size()) << testing::PrintToString(allocating);
}

// What a caller's variable holds afterwards: what it held, when the record itself could not be had; else null.
TEST(AllocationFailure, ResultsOfCallsThatMakeMoreThanARecord) {
  Host host;
  ArbHostContext context{};
  for (const std::uint64_t n : {1u, 2u}) {
    SCOPED_TRACE(n);
    ArbDocument* document = host.document;
    heap::testing::failAllocation(n, false);
    EXPECT_EQ(ARB_ERR_NOMEMORY, ArbDocumentCreate(0, &context, u"name", 0, 0, &document));
    EXPECT_EQ(n == 1 ? host.document : nullptr, document);
    ArbTree* const untouched = reinterpret_cast<ArbTree*>(&context);
    ArbTree* tree = untouched;
    heap::testing::failAllocation(n, false);
    expectRefusal(ArbDocumentCreateTree(host.document, u"name", &tree));
    EXPECT_EQ(n == 1 ? untouched : nullptr, tree);
    heap::testing::stopFailing();
  }
}

#ifndef _WIN32
TEST(AllocationFailure, TheElementDefinitionsOfADocument) {
  const std::uint64_t blocks = heap::testing::liveBlocks();
  ArbHostContext context{};
  ArbDocument* document = reinterpret_cast<ArbDocument*>(&context);
  const FailingNew failing(1);
  EXPECT_EQ(ARB_ERR_NOMEMORY, ArbDocumentCreate(0, &context, u"name", 0, 0, &document));
  EXPECT_TRUE(failing.fired());
  EXPECT_EQ(nullptr, document);
  EXPECT_EQ(blocks, heap::testing::liveBlocks());
}
#endif

// Tables that are full: one entry more is taken or refused, and the entries before it stay.
TEST(AllocationFailure, OneMoreEntryInAFullTable) {
  struct Table {
    const char* name;
    std::uint32_t full, allocations;
    std::function<ArbStatus(Host&, ArbTree*)> add;
    std::function<std::uint32_t(const Host&, const ArbTree*)> count;
  };
  const auto makeNode = [](ArbTree* tree, std::uint32_t id) {
    ArbNode* node = nullptr;
    const ArbStatus status = ArbTreeCreateNode(tree, id, nullptr, &node);
    EXPECT_EQ(status == ARB_OK, node != nullptr);
    return node ? ArbNodeAppendChild(rootOf(tree), node) : status;
  };
  const auto addString = [](Host& host) {
    ArbString* string = nullptr;
    const std::u16string text(1, static_cast<char16_t>(1 + host.document->strings.count));
    const ArbStatus status = ArbDocumentCreateString(host.document, text.c_str(), &string);
    EXPECT_EQ(status == ARB_OK, string != nullptr);
    return status;
  };
  const auto addReference = [](Host& host, ArbTree* tree) {
    ArbNodeRef* cell = nullptr;
    const std::uint32_t number = host.document->nodeCounter;
    const std::uint32_t used = tree->cellBlocks[0]->usedCount;
    const ArbStatus status = ArbTreeCreateFloatingNodeReference(tree, &cell);
    EXPECT_EQ(number + (status == ARB_OK), host.document->nodeCounter);
    EXPECT_EQ(used + (status == ARB_OK), tree->cellBlocks[0]->usedCount);
    return status;
  };
  const auto hook = [](std::uintptr_t, void*) -> std::uint32_t { return 0; };
  const auto countReferences = [](const Host&, const ArbTree* tree) { return tree->pendingRefCount; };
  const Table tables[] = {
      {"cells", 16 * kCellsPerBlock, 3,
       [=](Host&, ArbTree* tree) {
         if (tree->cellBlocks[0]->usedCount < 4000) {
           for (std::uint32_t i = 3; i < 16 * kCellsPerBlock; ++i) takeCell(*tree);
         }
         return makeNode(tree, elementId(1));
       },
       [](const Host&, const ArbTree* tree) {
         std::uint32_t used = 0;
         for (std::uint32_t b = 0; b < tree->cellBlockCount; ++b) used += tree->cellBlocks[b]->usedCount;
         return used;
       }},
      {"external references", 256, 2, [=](Host&, ArbTree* tree) { return makeNode(tree, ARB_ELEM_EXTERNAL_REFERENCE); },
       [](const Host&, const ArbTree* tree) { return tree->externalRefCount; }},
      {"separate streams", 32, 1,
       [](Host&, ArbTree* tree) {
         ArbNode* const first = resolve(rootOf(tree)->firstChildCell);
         const ArbStatus status = ArbNodeSetSeparateStream(first);
         if (status == ARB_OK) first->flags2 = 0;  // so that a mark given too early is seen the next time
         return status;
       },
       [](const Host&, const ArbTree* tree) { return tree->separateStreamCount; }},
      {"pending references", 256, 2, addReference, countReferences},
      {"no pending references", 0, 2, addReference, countReferences},
      {"pending references out of step with their cells", 1, 1,
       [=](Host& host, ArbTree* tree) {
         takeCell(*tree);
         return addReference(host, tree);
       },
       countReferences},
      {"bound strings", 32, 1,
       [=](Host& host, ArbTree* tree) {
         while (host.document->strings.count < 40) ok(addString(host));
         ArbString* const name = host.document->strings.entries[tree->boundStringCount];
         return ArbNodeSetIDString(resolve(rootOf(tree)->firstChildCell), name);
       },
       [](const Host&, const ArbTree* tree) { return tree->boundStringCount; }},
      {"strings", 1024, 3, [=](Host& host, ArbTree*) { return addString(host); },
       [](const Host& host, const ArbTree*) { return host.document->strings.count; }},
      {"hooks", 128, 1,
       [=](Host& host, ArbTree* tree) { return ArbTreeSetProducerNodeHook(tree, ARB_HOOK_NODE, 7, hook, &host); },
       [](const Host&, const ArbTree* tree) { return tree->hookCount; }},
      {"callbacks", 3, 1,
       [](Host& host, ArbTree*) { return ArbDocumentRegisterCallback(host.document, Recorder::onEvent, &host.events); },
       [](const Host& host, const ArbTree*) { return host.document->callbackCount; }},
  };
  for (const Table& table : tables) {
    SCOPED_TRACE(table.name);
    failEachAllocation(table.allocations, [&](const auto& arm) {
      Host host;
      host.end();
      ArbTree* const tree = host.makeTree();
      host.append(rootOf(tree), "first");
      while (table.count(host, tree) < table.full) ASSERT_EQ(ARB_OK, table.add(host, tree));
      const ArbNode* const first = resolve(rootOf(tree)->firstChildCell);
      const ArbNode before = *first;
      arm();
      const ArbStatus status = table.add(host, tree);
      if (status != ARB_OK) {
        expectRefusal(status);
        EXPECT_EQ(0, std::memcmp(&before, first, sizeof before)) << "the node that was to enter the table";
      }
      heap::testing::stopFailing();
      EXPECT_EQ(table.full + (status == ARB_OK), table.count(host, tree));
      ok(table.add(host, tree));
      EXPECT_EQ(table.full + 1 + (status == ARB_OK), table.count(host, tree));
      useAndDestroy(host);
    });
  }
}

// A copy that was made is answered with ARB_OK, whatever became of its value; it has all of it or none.
TEST(AllocationFailure, ValuesOfCopies) {
  for (const std::uint32_t id : {ARB_ELEM_TEXT, ARB_ELEM_TEXT_3, ARB_ELEM_TEXT_4, ARB_ELEM_ENCODED_BYTES}) {
    SCOPED_TRACE(testing::Message() << std::hex << id);
    std::uint32_t withoutValue = 0;
    failEachAllocation(1, [&](const auto& arm) {
      Host host;
      ArbNode* const node = host.appendText(rootOf(host.makeTree()), u"value", id);
      ArbNode* copy = nullptr;
      arm();
      const ArbStatus status = ArbNodeClone(node, nullptr, &copy);
      heap::testing::stopFailing();
      EXPECT_EQ(status == ARB_OK, copy != nullptr);
      if (!copy) return expectRefusal(status);
      const auto& record = *reinterpret_cast<const ArbTextNode*>(copy);
      EXPECT_EQ(record.text ? 5u : 0u, record.textLength);
      withoutValue += !record.text;
      ok(ArbNodeDestroy(copy));
    });
    EXPECT_LT(0u, withoutValue);
  }
}

// Copies that cannot be finished are whole nodes, to be destroyed like any other.
TEST(AllocationFailure, Copies) {
  failEachAllocation(20, [](const auto& arm) {
    Host host;
    Host other;
    for (Host* const each : {&host, &other}) each->end();
    ArbTree* const tree = host.makeTree();
    ArbTree* const target = other.makeTree();
    addAttributeKinds(tree);
    addAttributeKinds(target);
    ArbNode* parent = rootOf(tree);
    for (const std::uint32_t id : {kAttributeKind, plainKind(3), elementId(4)}) {
      parent = host.append(parent, "p", id);
      host.appendText(parent, u"text");
      ArbNode* const bytes = host.append(parent, "b", ARB_ELEM_ENCODED_BYTES);
      ok(ArbEncodedBytesNodeSetValue(bytes, "bytes", 5, 1, ARB_ENCODING_RAW8));
      ok(ArbNodeSetMetadata(bytes, 1, "a longer value", 14));
      host.append(parent, "r", ARB_ELEM_EXTERNAL_REFERENCE);
    }
    ArbNode* const top = resolve(rootOf(tree)->firstChildCell);
    ArbNode* copy = nullptr;
    {
      MadeNodes copies(other.document);
      arm();
      if (const ArbStatus status = ArbNodeCloneSubtree(top, target, &copy)) expectRefusal(status);
      heap::testing::stopFailing();
      for (ArbNode* const unlinked : copies.takeUnlinked()) {
        other.shape(unlinked);
        ok(ArbNodeDestroy(unlinked));
      }
    }
    ok(ArbNodeCloneSubtree(top, target, &copy));
    EXPECT_EQ(1u, ArbNodeIsEqual(top, copy));
    ok(ArbNodeAppendChild(rootOf(target), copy));
    useAndDestroy(host);
    useAndDestroy(other);
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
      for (int depth = 0; depth < 100; ++depth) forest = host.makeForest(forest);
      ArbTree* const tree = host.makeTree();
      ArbNode* const top = host.make(tree, "top");
      ArbNode* parent = top;
      for (int depth = 0; depth < 1000; ++depth) {
        ArbNode* const above = parent;
        host.append(above, "leaf");
        parent = host.append(above, "deep");
        host.append(above, "leaf");
      }
      ArbNode* const loose = host.make(tree, "loose");
      host.append(host.append(loose, "below"), "lowest");
      arm();
      ok(ArbNodeAppendChild(rootOf(tree), top));
      ok(ArbNodeProducerDoneSubtree(rootOf(tree)));
      if (producerFirst) ok(ArbForestProducerReleaseSubtree(host.document->rootForest));
      ok(ArbForestConsumerReleaseSubtree(host.document->rootForest));
      if (!producerFirst) ok(ArbForestProducerReleaseSubtree(host.document->rootForest));
      EXPECT_EQ(elements + 3, liveElements());
      ok(ArbNodeDestroy(loose));
      EXPECT_EQ(elements, liveElements());
      host.destroy();
    });
  }
}

}  // namespace
}  // namespace arbtree::test
