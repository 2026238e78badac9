// Each allocation fails in turn while values, strings, references, marks, copies, files and paths are made. What was
// refused has changed nothing, nothing leaks, and the document can still be used.
#include <gtest/gtest.h>

#include <string>

#include "arbtree/compwrite.h"
#include "support/failing_heap.h"
#include "support/host.h"
#include "support/standins.h"
#include "tree/tree.h"

namespace arbtree::test {
namespace {

bool succeeded(ArbStatus status, ArbStatus refusal = ARB_ERR_NOMEMORY) {
  EXPECT_TRUE(status == ARB_OK || (heap::testing::failureFired() && (status == refusal || status == ARB_ERR_NOMEMORY)))
      << status;
  return status == ARB_OK;
}

void useAndDestroy(Host& host) {
  heap::testing::stopFailing();
  ArbTree* const tree = host.makeTree();
  host.append(host.append(rootOf(tree), "u"), "v");
  EXPECT_EQ("root(u(v))", host.shape(rootOf(tree)));
  EXPECT_EQ(ARB_OK, ArbForestProducerReleaseSubtree(host.document->rootForest));
  EXPECT_EQ(ARB_OK, ArbForestConsumerReleaseSubtree(host.document->rootForest));
  host.destroy();
}

TEST(AllocationFailureOfValues, EncodedBytes) {
  failEachAllocation(5, [](const auto& arm) {
    Host host;
    ArbNode* const node = host.append(rootOf(host.makeTree()), "bytes", ARB_ELEM_ENCODED_BYTES);
    const auto& record = *reinterpret_cast<ArbEncodedBytesNode*>(node);
    arm();
    for (const std::uint32_t encoding : {ARB_ENCODING_UTF16, ARB_ENCODING_BASE64, ARB_ENCODING_RAW8}) {
      const bool set = succeeded(ArbEncodedBytesNodeSetValueEx(node, "abcd", 4, 9, encoding, 0x22));
      EXPECT_EQ(set, record.text != nullptr);
      EXPECT_EQ(set ? (encoding == ARB_ENCODING_UTF16  ? 2u
                       : encoding == ARB_ENCODING_RAW8 ? 4u
                                                       : 8u)
                    : 0u,
                record.textLength);
      EXPECT_EQ(encoding, record.encoding);
      EXPECT_EQ(9u, record.info);
      const bool setAgain = succeeded(ArbEncodedBytesNodeSetValue(node, "xy", 2, 9, encoding));
      EXPECT_EQ(setAgain, record.text != nullptr);
    }
    useAndDestroy(host);
  });
}

// A text that was refused is made when it is asked for again; every other is there once.
TEST(AllocationFailureOfValues, Strings) {
  failEachAllocation(8, [](const auto& arm) {
    Host host;
    const char16_t* const texts[] = {u"m", u"c", u"x"};
    ArbString* made[3];
    std::uint32_t count = 0;
    arm();
    for (int i = 0; i < 3; ++i) {
      made[i] = reinterpret_cast<ArbString*>(&host);
      const bool isMade = succeeded(ArbDocumentCreateString(host.document, texts[i], &made[i]));
      EXPECT_EQ(isMade, made[i] != nullptr);
      if (isMade) ++count;
    }
    heap::testing::stopFailing();
    EXPECT_EQ(count, host.document->strings.count);
    for (int i = 0; i < 3; ++i) {
      ArbString* again = nullptr;
      EXPECT_EQ(ARB_OK, ArbDocumentCreateString(host.document, texts[i], &again));
      EXPECT_EQ(std::u16string(texts[i]), again->text);
      EXPECT_TRUE(!made[i] || made[i] == again);
    }
    EXPECT_EQ(3u, host.document->strings.count);
    useAndDestroy(host);
  });
}

TEST(AllocationFailureOfValues, TheThousandAndTwentyFifthString) {
  failEachAllocation(3, [](const auto& arm) {
    Host host;
    char16_t text[] = u"0000";
    ArbString* string = nullptr;
    const auto make = [&](int number) {
      for (int digit = 3; digit >= 0; --digit, number /= 10) text[digit] = static_cast<char16_t>(u'0' + number % 10);
      return ArbDocumentCreateString(host.document, text, &string);
    };
    for (int i = 0; i < 1024; ++i) ASSERT_EQ(ARB_OK, make(i));
    arm();
    const bool made = succeeded(make(1024));
    heap::testing::stopFailing();
    EXPECT_EQ(made, string != nullptr);
    EXPECT_EQ(made ? 1025u : 1024u, host.document->strings.count);
    // Ascending texts: each but the last leads to the next.
    for (std::uint32_t i = 0; i < host.document->strings.count; ++i) {
      EXPECT_EQ(i + 1 == host.document->strings.count ? 0 : i + 1, host.document->strings.entries[i]->greater);
    }
    EXPECT_EQ(ARB_OK, make(1024));
    EXPECT_EQ(host.document->strings.entries[1024], string);
    EXPECT_EQ(1024u, host.document->strings.entries[1023]->greater);
    useAndDestroy(host);
  });
}

TEST(AllocationFailureOfValues, References) {
  failEachAllocation(6, [](const auto& arm) {
    Host host;
    ArbTree* const tree = host.makeTree();
    ArbString* name = nullptr;
    EXPECT_EQ(ARB_OK, ArbDocumentCreateString(host.document, u"name", &name));
    ArbNode* const node = host.append(rootOf(tree), "n");
    ArbNode* const done = host.append(rootOf(tree), "d");
    EXPECT_EQ(ARB_OK, ArbNodeAttributesDone(done));
    ArbNodeRef untouched{};
    std::uint32_t pending = 0;
    arm();
    for (int i = 0; i < 257; ++i) {  // so that the table grows
      const std::uint32_t number = host.document->nodeCounter;
      ArbNodeRef* cell = &untouched;
      if (succeeded(i % 2 ? ArbTreeCreateNamedNodeReference(tree, name, &cell)
                          : ArbTreeCreateFloatingNodeReference(tree, &cell))) {
        ++pending;
        EXPECT_EQ(cell, tree->pendingRefs[pending - 1]);
      } else {
        EXPECT_EQ(i % 2 ? nullptr : &untouched, cell);
        EXPECT_EQ(number, host.document->nodeCounter);
      }
    }
    EXPECT_EQ(pending, tree->pendingRefCount);
    const bool named = succeeded(ArbNodeSetIDString(node, name));
    EXPECT_EQ(named ? name : nullptr, node->idString);
    EXPECT_EQ(named ? node->cell : nullptr, name->boundRef);
    EXPECT_EQ(named, (node->flags & ARB_NODE_HAS_ID) != 0);
    ArbString* generated = name;
    EXPECT_EQ(ARB_OK, ArbNodeRefQueryIdString(done->cell, &generated));
    EXPECT_EQ(done->idString, generated);
    EXPECT_EQ(ARB_OK, ArbNodeRefWaitIdString(done->cell, host.document, &generated));
    EXPECT_TRUE(generated || heap::testing::failureFired());
    if (generated) {
      EXPECT_EQ(done->cell, generated->boundRef);
    }
    heap::testing::stopFailing();
    EXPECT_EQ(ARB_OK, ArbNodeRefQueryIdString(done->cell, &generated));
    EXPECT_EQ(std::u16string(u"ID3"), generated->text);
    ArbNodeRef* cell = nullptr;
    EXPECT_EQ(ARB_OK, ArbTreeCreateFloatingNodeReference(tree, &cell));
    EXPECT_EQ(cell, tree->pendingRefs[pending]);
    EXPECT_EQ(ARB_OK, ArbNodeAppendChild(rootOf(tree), host.make(tree, "later", elementId(1), cell)));
    useAndDestroy(host);
  });
}

// However many strings a tree has bound, and whatever was refused, none points into it when it is gone.
TEST(AllocationFailureOfValues, BindingManyStrings) {
  failEachAllocation(1, [](const auto& arm) {
    Host host;
    ArbTree* const tree = host.makeTree();
    constexpr char16_t kLast = u'a' + 32;
    for (char16_t text[] = u"a"; *text <= kLast; ++*text) {
      ArbString* name = nullptr;
      EXPECT_EQ(ARB_OK, ArbDocumentCreateString(host.document, text, &name));
      ArbNode* const node = host.append(rootOf(tree), "n");
      if (*text == kLast) arm();
      const bool named = succeeded(ArbNodeSetIDString(node, name));
      EXPECT_EQ(named ? node->cell : nullptr, name->boundRef);
      EXPECT_EQ(named ? name : nullptr, node->idString);
    }
    heap::testing::stopFailing();
    EXPECT_EQ(ARB_OK, ArbTreeDestroy(tree));
    for (std::uint32_t i = 0; i <= 32; ++i) EXPECT_EQ(nullptr, host.document->strings.entries[i]->boundRef);
    useAndDestroy(host);
  });
}

TEST(AllocationFailureOfValues, MarksAndExternalReferences) {
  failEachAllocation(4, [](const auto& arm) {
    Host host;
    EXPECT_EQ(ARB_STATUS_END, ArbDocumentReadAhead(host.document));
    ArbTree* const tree = host.makeTree();
    ArbNode* const root = rootOf(tree);
    ArbNode* const node = host.append(root, "n");
    std::uint32_t marked = 0;
    arm();
    for (int i = 0; i < 33; ++i) {
      if (succeeded(ArbNodeSetSeparateStream(node))) ++marked;
      EXPECT_EQ(marked != 0, (node->flags2 & ARB_NODE_SEPARATE_STREAM) != 0);
    }
    ArbNode* reference = nullptr;
    if (succeeded(ArbTreeCreateExternalReferenceNode(tree, nullptr, u"entity", &reference), ARB_ERR_NOTFOUND)) {
      EXPECT_EQ(std::u16string(u"entity"), reinterpret_cast<ArbExternalReferenceNode*>(reference)->entityName);
      EXPECT_EQ(ARB_OK, ArbNodeAppendChild(root, reference));
    } else {
      EXPECT_EQ(nullptr, reference);
    }
    heap::testing::stopFailing();
    EXPECT_EQ(marked, tree->separateStreamCount);
    useAndDestroy(host);
  });
}

// A copy that cannot be finished hangs together, so that destroying its top frees all of it.
TEST(AllocationFailureOfValues, Copies) {
  failEachAllocation(20, [](const auto& arm) {
    Host host;
    Host other;
    for (Host* const each : {&host, &other}) EXPECT_EQ(ARB_STATUS_END, ArbDocumentReadAhead(each->document));
    ArbTree* const tree = host.makeTree();
    ArbTree* const target = other.makeTree();
    addAttributeKinds(tree);
    addAttributeKinds(target);
    ArbNode* parent = rootOf(tree);
    for (const std::uint32_t id : {kAttributeKind, plainKind(3), elementId(4)}) {
      parent = host.append(parent, "p", id);
      ArbNode* const text = host.append(parent, "t", ARB_ELEM_TEXT);
      EXPECT_EQ(ARB_OK, ArbAbstractTextNodeSetValue(text, u"text", 4));
      ArbNode* const bytes = host.append(parent, "b", ARB_ELEM_ENCODED_BYTES);
      EXPECT_EQ(ARB_OK, ArbEncodedBytesNodeSetValue(bytes, "bytes", 5, 1, ARB_ENCODING_RAW8));
      EXPECT_EQ(ARB_OK, ArbNodeSetMetadata(bytes, 1, "a longer value", 14));
      host.append(parent, "r", ARB_ELEM_EXTERNAL_REFERENCE);
    }
    ArbNode* const top = resolve(rootOf(tree)->firstChildCell);
    arm();
    ArbNode* copy = nullptr;
    succeeded(ArbNodeCloneSubtree(top, target, &copy), ARB_ERR_NOTFOUND);
    heap::testing::stopFailing();
    if (copy) {
      other.shape(copy);
      EXPECT_EQ(ARB_OK, ArbNodeDestroy(copy));
    }
    EXPECT_EQ(ARB_OK, ArbNodeCloneSubtree(top, target, &copy));
    EXPECT_EQ(1u, ArbNodeIsEqual(top, copy));
    EXPECT_EQ(ARB_OK, ArbNodeAppendChild(rootOf(target), copy));
    useAndDestroy(host);
    useAndDestroy(other);
  });
}

std::uint32_t ARB_CALL noWriter(ArbHostContext*, ArbFile*, std::uint32_t, void*) { return 5; }

TEST(AllocationFailureOfValues, FilesAndPaths) {
  failEachAllocation(5, [](const auto& arm) {
    const Source source(u"/in/a.doc", u"/out/b.tar");
    Host host(0, source.handle());
    Host other(0, source.handle());
    EXPECT_EQ(ARB_OK, CompWriteSetWriter(&host.context, noWriter, nullptr));
    ArbFile* original = nullptr;
    EXPECT_EQ(ARB_OK, ArbDocumentCreateFile(host.document, u"original", 1, &original));
    EXPECT_EQ(ARB_OK, ArbForestChildSetMetadata(&original->child, 1, "1234", 4));
    EXPECT_EQ(ARB_OK, ArbForestChildSetMetadata(&original->child, 2, "1234567", 7));
    ArbFile untouched{};
    ArbFile* made = &untouched;
    ArbFile* copy = &untouched;
    const std::uint32_t id = other.document->childCounter;
    arm();
    const bool wasMade = succeeded(ArbDocumentCreateFile(other.document, u"%n", 1, &made));
    const bool wasCopied = succeeded(ArbDocumentTransferFile(other.document, original, &copy));
    std::uint32_t size = 0;
    EXPECT_EQ(ARB_ERR_SMALLBUFFER, ArbForestChildGetDocumentPath(&original->child, nullptr, &size));
    EXPECT_EQ(10u + 8 + 1, size);
    EXPECT_EQ(5u, ArbFileWrite(original, 1));
    heap::testing::stopFailing();
    EXPECT_EQ(wasMade, made != &untouched);
    EXPECT_EQ(wasCopied, copy != &untouched);
    EXPECT_EQ(id + wasMade + wasCopied, other.document->childCounter);
    if (wasCopied) {
      // An entry is there whole or not at all.
      char value[8] = {};
      size = 8;
      if (ArbForestChildGetMetadata(&copy->child, 2, value, &size) == ARB_OK) {
        EXPECT_EQ(7u, size);
        EXPECT_STREQ("1234567", value);
      }
      EXPECT_EQ(&host.context, copy->hostContext);
    }
    for (ArbFile* const file : {made, copy, original}) {
      if (file != &untouched) {
        EXPECT_EQ(ARB_OK, ArbFileDestroy(file));
      }
    }
    EXPECT_EQ(ARB_OK, CompWriteRemoveWriter(&host.context));
    useAndDestroy(host);
    useAndDestroy(other);
  });
}

// Reading, comparing, hashing, walking and saving positions need no memory.
TEST(AllocationFailureOfValues, WhatNeedsNoMemory) {
  failEachAllocation(0, [](const auto& arm) {
    Host host;
    ArbTree* const tree = host.makeTree();
    ArbNode* const root = rootOf(tree);
    ArbString* name = nullptr;
    EXPECT_EQ(ARB_OK, ArbDocumentCreateString(host.document, u"name", &name));
    ArbNode* const node = host.append(root, "n");
    host.append(node, "m", ARB_ELEM_TEXT);
    EXPECT_EQ(ARB_OK, ArbNodeProducerDoneSubtree(root));
    arm();
    for (int i = 0; i < 130; ++i) ArbTreePushCursor(tree, node);
    for (int i = 0; i < 130; ++i) EXPECT_EQ(ARB_OK, ArbTreePopCursor(tree, nullptr));
    const ArbTraverserCallbacks silent{};
    EXPECT_EQ(1u, ArbDocumentOrderTraverser(root, &silent, nullptr));
    EXPECT_EQ(0u, ArbNodeIsEqual(root, node));
    ArbNodeHashCode(root);
    ArbStringGetHashCode(name);
    std::uint8_t bytes[8];
    EXPECT_EQ(3u, DecodeBase64(u"YWJj", 4, bytes, 8));
    EXPECT_EQ(ARB_ERR_LOCKED, ArbNodeCreateID(node));
    EXPECT_EQ(ARB_ERR_LOCKED, ArbNodeSetSkipIfEmpty(node));
    EXPECT_EQ(ARB_OK, ArbNodeRefQueryNode(node->cell, nullptr));
    EXPECT_FALSE(heap::testing::failureFired());
    useAndDestroy(host);
  });
}

}  // namespace
}  // namespace arbtree::test
