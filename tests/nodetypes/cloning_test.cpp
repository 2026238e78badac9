// Copies of nodes and subtrees: what they carry, where they can be made, what is announced, and what failures leave.
#include <algorithm>
#include <cstring>
#include <string>

#include "platform/heap.h"
#include "support/attribute_kinds.h"
#include "support/host.h"
#include "support/small_stack.h"
#include "tree/tree.h"

namespace arbtree::test {
namespace {

class Cloning : public TreeTest {
 protected:
  Cloning() {
    addAttributeKinds(tree);
    host.end();
  }
  static ArbNode* clone(ArbNode* node, ArbTree* target) {
    ArbNode* copy = nullptr;
    ok(ArbNodeClone(node, target, &copy));
    EXPECT_NE(nullptr, copy);
    return copy;
  }
  // A node of every kind with a value, all marks and identifiers, and metadata.
  ArbNode* sample(std::uint32_t id) {
    ArbNode* const node = host.append(root, "source", id);
    if (id == ARB_ELEM_ENCODED_BYTES) {
      ok(ArbEncodedBytesNodeSetValueEx(node, "\1\2\3", 3, 5, ARB_ENCODING_RAW8, 0x22));
    } else if (id == ARB_ELEM_EXTERNAL_REFERENCE) {
      auto& record = *reinterpret_cast<ArbExternalReferenceNode*>(node);
      record.target = asChild(tree);
      record.entityName[0] = u'n';
    } else if (node->nodeType->typeFlags & ARB_TYPE_ATTR_FUNCTIONS && id != kAttributeKind) {
      ok(ArbAbstractTextNodeSetValue(node, u"a\0b", 3));
    } else if (id == plainKind(5)) {
      std::memcpy(areaOf(node), "12345", 5);
    }
    ok(ArbNodeSetMetadata(node, 1, "1234", 4));
    ok(ArbNodeSetMetadata(node, 2, "longer value", 12));
    ok(ArbNodeSetMetadata(node, 4, "", 0));
    ok(ArbNodeSetSeparateStream(node));
    ok(ArbNodeSetSkipIfEmpty(node));
    ok(ArbNodeCreateID(node));
    host.append(node, "child");
    ok(ArbNodeProducerDone(node));
    return node;
  }
};

void expectMetadata(ArbNode* node, std::uint32_t key, const std::string& value) {
  char buffer[32] = {};
  std::uint32_t size = sizeof buffer;
  EXPECT_EQ(ARB_OK, ArbNodeGetMetadata(node, key, buffer, &size)) << key;
  EXPECT_EQ(value, std::string(buffer, size));
}

// Into the own tree (named and as null), another tree, and another document.
TEST_F(Cloning, ACopyCarriesValueAndMetadataAndNothingElse) {
  for (const std::uint32_t id : {ARB_ELEM_TEXT, ARB_ELEM_TEXT_3, ARB_ELEM_TEXT_4, ARB_ELEM_ENCODED_BYTES,
                                 ARB_ELEM_EXTERNAL_REFERENCE, elementId(1), kAttributeKind, plainKind(5)}) {
    Host elsewhere;
    elsewhere.end();
    ArbTree* const targets[] = {nullptr, tree, host.makeTree(), elsewhere.makeTree()};
    ArbNode* const node = sample(id);
    for (ArbTree* const target : targets) {
      SCOPED_TRACE(testing::Message() << std::hex << id << " to target " << (target ? target->child.id : 0));
      if (target) addAttributeKinds(target);
      ArbTree* const owner = target ? target : tree;
      ArbNode* const copy = clone(node, target);
      EXPECT_EQ(owner, copy->tree);
      EXPECT_EQ(node->nodeType->elementId, copy->nodeType->elementId);
      EXPECT_EQ(1u, ArbNodeAttributesAreEqual(node, copy));
      EXPECT_EQ(0, copy->flags);
      EXPECT_EQ(0, copy->flags2 & (ARB_NODE_SEPARATE_STREAM | ARB_NODE_SKIP_IF_EMPTY));
      EXPECT_EQ(nullptr, copy->idString);
      EXPECT_EQ(0u, copy->childCount);
      expectMetadata(copy, 1, "1234");
      expectMetadata(copy, 2, "longer value");
      expectMetadata(copy, 4, "");
      ok(ArbNodeSetMetadata(copy, 2, "other", 5));
      expectMetadata(node, 2, "longer value");
      EXPECT_EQ(1u, node->childCount);
      ok(ArbNodeAppendChild(rootOf(owner), copy));
    }
  }
}

// `held` bytes, the terminator among them, are copied, and by the copy in its turn. Units in a node whose encoding says
// bytes are copied as units.
TEST_F(Cloning, EncodedBytesOfEveryEncoding) {
  struct Row {
    std::string bytes;
    std::uint32_t encoding;
    std::size_t held;
    std::u16string units;  // set afterwards, unless empty
  };
  const Row rows[] = {
      {"abcd", ARB_ENCODING_UTF16, 6, {}},    {"abc", ARB_ENCODING_BASE64, 10, {}},
      {"abc", ARB_ENCODING_RAW8, 4, {}},      {"x", ARB_ENCODING_UTF16, 2, {}},
      {"", ARB_ENCODING_RAW8, 0, {}},         {std::string("\0\0\0", 3), ARB_ENCODING_RAW8, 4, {}},
      {"x", ARB_ENCODING_RAW8, 12, u"units"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.bytes << " as " << row.encoding);
    ArbNode* const node = host.append(root, "source", ARB_ELEM_ENCODED_BYTES);
    const auto count = static_cast<std::uint32_t>(row.bytes.size());
    ok(ArbEncodedBytesNodeSetValueEx(node, row.bytes.data(), count, 7, row.encoding, 0x60));
    const auto units = static_cast<std::uint32_t>(row.units.size());
    if (units != 0) ok(ArbAbstractTextNodeSetValue(node, row.units.data(), units));
    const auto& from = *reinterpret_cast<ArbEncodedBytesNode*>(node);
    ArbNode* const copy = clone(node, nullptr);
    for (ArbNode* const each : {copy, clone(copy, nullptr)}) {
      const auto& to = *reinterpret_cast<ArbEncodedBytesNode*>(each);
      EXPECT_EQ(from.textLength, to.textLength);
      EXPECT_EQ(7u, to.info);
      EXPECT_EQ(row.encoding, to.encoding);
      EXPECT_EQ(0u, to.encodingFlags);
      EXPECT_EQ(row.held == 0, to.text == nullptr);
      if (row.held != 0) {
        EXPECT_NE(from.text, to.text);
        EXPECT_EQ(0, std::memcmp(from.text, to.text, row.held));
      }
      ok(ArbNodeDestroy(each));
    }
  }
}

// A callback meets the copy before it has its content: what it sets does not stay, and the size that it gives bounds
// what is copied.
TEST_F(Cloning, ACallbackChangesTheCopyBeforeItsContentComes) {
  ArbNode* const node = sample(plainKind(5));
  std::size_t bytes = 0;
  const WhenMade change(host.document, [&bytes](ArbNode* made) {
    ok(ArbNodeSetMetadata(made, 3, "of the callback", 15));
    made->size = static_cast<std::uint16_t>(sizeof(ArbNode) + bytes);
  });
  const std::uint64_t blocks = heap::testing::liveBlocks();
  for (const std::size_t sourceBytes : {5u, 3u}) {
    node->size = static_cast<std::uint16_t>(sizeof(ArbNode) + sourceBytes);
    for (bytes = 0; bytes <= 5; ++bytes) {
      ArbNode* const copy = clone(node, nullptr);
      std::string area = std::string("12345").substr(0, std::min(bytes, sourceBytes));
      area.resize(5);
      EXPECT_EQ(area, std::string(reinterpret_cast<const char*>(areaOf(copy)), 5));
      EXPECT_EQ(ARB_ERR_NOTFOUND, ArbNodeGetMetadata(copy, 3, nullptr, nullptr));
      expectMetadata(copy, 2, "longer value");
      ok(ArbNodeDestroy(copy));
      EXPECT_EQ(blocks, heap::testing::liveBlocks());
    }
  }
}

// Also a value, and another node in the caller's variable.
TEST_F(Cloning, ACallbackGivesTheCopyAValueAndTheVariableAnotherNode) {
  ArbNode* const full = host.append(root, "source", ARB_ELEM_ENCODED_BYTES);
  ok(ArbEncodedBytesNodeSetValue(full, "bytes", 5, 7, ARB_ENCODING_RAW8));
  ArbNode* const empty = host.append(root, "source", ARB_ELEM_ENCODED_BYTES);
  ArbNode* const other = sample(ARB_ELEM_TEXT);
  for (ArbNode* const source : {full, empty}) {
    ArbNode* variable = nullptr;
    ArbNode* copy = nullptr;
    const WhenMade change(host.document, [&](ArbNode* made) {
      if (copy) return;
      ok(ArbEncodedBytesNodeSetValueEx(made, "x", 1, 0, ARB_ENCODING_RAW8, 0x22));
      ok(ArbAbstractTextNodeSetValue(made, u"draft", 5));
      copy = made;
      variable = other;
    });
    ok(ArbNodeClone(source, nullptr, &variable));
    EXPECT_EQ(other, variable);
    expectMetadata(other, 2, "longer value");
    for (ArbNode* const each : {copy, clone(copy, nullptr)}) {
      EXPECT_EQ(1u, ArbNodeIsEqual(source, each));
      EXPECT_EQ(0u, reinterpret_cast<ArbEncodedBytesNode*>(each)->encodingFlags);
      ok(ArbNodeDestroy(each));
    }
  }
}

// Present attributes are set one by one, in order; one whose id has the top byte 0x37 never is. Nothing else is copied.
TEST_F(Cloning, AttributesGoThroughTheOperations) {
  ArbNode* const node = host.append(root, "source", kAttributeKind);
  for (std::uint32_t present = 0; present < 16; ++present) {
    AttributeNode& source = asAttributes(node);
    source = {source.node, present, {10, 11, 12, 13}, 99};
    takeSetAttributes();
    ArbNode* const copy = clone(node, nullptr);
    std::vector<std::uint32_t> expected;
    for (const std::uint32_t index : {0u, 2u, 3u}) {
      if (present >> index & 1) expected.push_back(index);
    }
    EXPECT_EQ(expected, takeSetAttributes()) << present;
    EXPECT_EQ(present & ~(1u << kUncopied), asAttributes(copy).present);
    for (const std::uint32_t index : expected) EXPECT_EQ(10 + index, asAttributes(copy).values[index]);
    EXPECT_EQ(0u, asAttributes(copy).unseen);
    ok(ArbNodeDestroy(copy));
  }
}

TEST_F(Cloning, RefusalsAreThoseOfMakingANode) {
  ArbNode* const node = host.append(root, "n", plainKind(1));
  ArbTree* const bare = host.makeTree();
  ArbTree* const closed = host.makeTree();
  addAttributeKinds(closed);
  ok(ArbForestChildProducerDone(asChild(closed)));
  ArbNode* copy = untouchedNode();
  const RefusingFactory refusing(0);
  for (const auto call : {ArbNodeClone, ArbNodeCloneSubtree}) {
    EXPECT_EQ(ARB_ERR_NOTFOUND, call(node, bare, &copy)) << "no factory";
    EXPECT_EQ(ARB_ERR_LOCKED, call(node, closed, &copy));
    EXPECT_EQ(ARB_ERR_NOTFOUND, call(node, tree, &copy)) << "a factory that makes nothing";
    EXPECT_EQ(ARB_ERR_BADARG, call(node, tree, nullptr));
    EXPECT_EQ(untouchedNode(), copy);
  }
}

// source: top(a(b c) d), copied as: each node announced when made, each linked when all below it is.
class CloningSubtrees : public Cloning {
 protected:
  CloningSubtrees() {
    a = host.append(top, "a", plainKind(2));
    host.append(a, "b", plainKind(3));
    host.append(a, "c", plainKind(4));
    host.append(top, "d", plainKind(5));
  }
  void nameCopies() {
    const char* const names[] = {"top'", "a'", "b'", "c'", "d'"};
    for (std::uint32_t i = 0; i < 5; ++i) host.events.setName(host.document->nodeCounter + 1 + i, names[i]);
  }

  ArbNode* const top = host.append(root, "top", plainKind(1));
  ArbNode* a = nullptr;
};

TEST_F(CloningSubtrees, AreMadeAndLinkedLikeARecursion) {
  nameCopies();
  host.record();
  ArbNode* copy = nullptr;
  ok(ArbNodeCloneSubtree(top, nullptr, &copy));
  EXPECT_EQ((Lines{"created top'", "created a'", "created b'", "linked b'", "created c'", "linked c'", "linked a'",
                   "created d'", "linked d'"}),
            host.events.take());
  EXPECT_EQ("top'(a'(b' c') d')", host.shape(copy));
  EXPECT_EQ(1u, ArbNodeIsEqual(top, copy));
  EXPECT_EQ(0, copy->flags) << "not linked";
  EXPECT_EQ(ARB_NODE_LINKED, resolve(copy->firstChildCell)->flags) << "its list left open, and nothing done";
  EXPECT_EQ(ARB_OK, ArbNodeAppendChild(a, copy)) << "also below its own source";
  EXPECT_EQ("top(a(b c top'(a'(b' c') d')) d)", host.shape(top));
}

// The factory gives out after so many nodes. Only finished copies are linked.
TEST_F(CloningSubtrees, FailingMidwayKeepWhatWasMade) {
  const char* const shapes[] = {" top'", " top' a'", " top' a'(b')", " top'(a'(b' c'))"};
  MadeNodes copies(host.document);
  for (std::uint32_t made = 1; made <= 4; ++made) {
    const std::uint64_t live = liveElements();
    nameCopies();
    ArbNode* copy = nullptr;
    const RefusingFactory refusing(made);
    EXPECT_EQ(ARB_ERR_NOTFOUND, ArbNodeCloneSubtree(top, nullptr, &copy));
    ASSERT_NE(nullptr, copy);
    EXPECT_EQ("top'", host.events.nameOf(copy));
    EXPECT_EQ(live + made, liveElements());
    std::string shape;
    for (ArbNode* const unlinked : copies.takeUnlinked()) {
      shape += " " + host.shape(unlinked);
      ok(ArbNodeDestroy(unlinked));
    }
    EXPECT_EQ(shapes[made - 1], shape);
    EXPECT_EQ(live, liveElements());
  }
  EXPECT_EQ("top(a(b c) d)", host.shape(top));
}

// And compared and hashed.
TEST(CloningDeep, AMillionLevels) {
  constexpr std::uint32_t kLevels = 1'000'000;
  const std::uint64_t live = liveElements();
  Host source;
  Host target;
  ArbTree* const tree = source.makeTree();
  ArbTree* const into = target.makeTree();
  ArbNode* const top = source.make(tree, "top");
  ArbNode* parent = top;
  for (std::uint32_t level = 1; level < kLevels; ++level) {
    ArbNode* child = nullptr;
    ASSERT_EQ(ARB_OK, ArbTreeCreateNode(tree, elementId(level % 100), nullptr, &child));
    ASSERT_EQ(ARB_OK, ArbNodeAppendChild(parent, child));
    parent = child;
  }
  onSmallStack([&] {
    ArbNode* copy = nullptr;
    ok(ArbNodeCloneSubtree(top, into, &copy));
    EXPECT_EQ(live + 2 * kLevels, liveElements());
    EXPECT_EQ(1u, ArbNodeIsEqual(top, copy));
    EXPECT_EQ(ArbNodeHashCode(top), ArbNodeHashCode(copy));
    reinterpret_cast<ElementNode*>(parent)->content = 1;
    EXPECT_EQ(0u, ArbNodeIsEqual(top, copy)) << "the lowest differs";
    EXPECT_EQ(1u, ArbNodeHashCode(top) ^ ArbNodeHashCode(copy));
    ok(ArbNodeDestroy(copy));
    ok(ArbNodeDestroy(top));
  });
  EXPECT_EQ(live, liveElements());
}

}  // namespace
}  // namespace arbtree::test
