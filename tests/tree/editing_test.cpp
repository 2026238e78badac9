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

TEST(Editing, InsertBeforeAReferenceWithoutParentIsRefused) {
  Host host(1);
  ArbTree* const tree = host.makeTree();
  ArbNode* const loose = host.make(tree, "loose");
  ArbNode* const node = host.make(tree, "node");
  for (ArbNode* const reference : {rootOf(tree), loose}) {
    EXPECT_EQ(ARB_ERR_DETACHED, ArbNodeInsertSiblingBefore(reference, node));
    EXPECT_EQ(0u, node->flags);
    EXPECT_EQ(nullptr, reference->prevSiblingCell);
  }
  EXPECT_EQ(ARB_OK, ArbNodeDestroy(loose));
  EXPECT_EQ(ARB_OK, ArbNodeDestroy(node));
}

TEST(Editing, InsertAndRemoveKeepTheLinks) {
  Host host(1);
  ArbTree* const tree = host.makeTree();
  ArbNode* const root = rootOf(tree);
  ArbNode* const b = host.append(root, "b");
  ArbNode* const d = host.append(root, "d");
  ArbNode* const a = host.make(tree, "a");
  ArbNode* const c = host.make(tree, "c");
  EXPECT_EQ(ARB_OK, ArbNodeInsertSiblingBefore(b, a));
  EXPECT_EQ("root(a b d)", host.shape(root));
  EXPECT_EQ(ARB_OK, ArbNodeInsertSiblingBefore(d, c));
  EXPECT_EQ("root(a b c d)", host.shape(root));
  EXPECT_EQ(4u, root->childCount);

  EXPECT_EQ(ARB_OK, ArbNodeRemoveFromTree(b));
  EXPECT_EQ("root(a c d)", host.shape(root));
  EXPECT_EQ(ARB_OK, ArbNodeRemoveFromTree(a));
  EXPECT_EQ(ARB_OK, ArbNodeRemoveFromTree(d));
  EXPECT_EQ("root(c)", host.shape(root));
  EXPECT_EQ(ARB_OK, ArbNodeRemoveFromTree(c));
  EXPECT_EQ("root", host.shape(root));
  EXPECT_EQ(0u, root->childCount);
  EXPECT_EQ(nullptr, root->firstChildCell);
  EXPECT_EQ(nullptr, root->lastChildCell);
  for (ArbNode* const node : {a, b, c, d}) {
    EXPECT_EQ(0u, node->flags);
    EXPECT_EQ(nullptr, node->parentCell);
    EXPECT_EQ(nullptr, node->prevSiblingCell);
    EXPECT_EQ(nullptr, node->nextSiblingCell);
  }
  EXPECT_EQ(ARB_OK, ArbNodeAppendChild(root, c));
  EXPECT_EQ("root(c)", host.shape(root));
  for (ArbNode* const node : {a, b, d}) EXPECT_EQ(ARB_OK, ArbNodeDestroy(node));
}

TEST(Editing, TransferMovesWholeListsToTheEnd) {
  struct Row {
    int from, to;
    const char* after;
  };
  for (const Row& row : {Row{3, 2, "to(t0 t1 f0 f1 f2)"}, Row{3, 0, "to(f0 f1 f2)"}, Row{0, 2, "to(t0 t1)"},
                         Row{0, 0, "to"}, Row{1, 1, "to(t0 f0)"}}) {
    SCOPED_TRACE(row.after);
    Host host;
    ArbTree* const tree = host.makeTree();
    ArbNode* const from = host.make(tree, "from");
    ArbNode* const to = host.append(rootOf(tree), "to");
    for (int i = 0; i < row.from; ++i) host.append(from, joined({"f", std::to_string(i)}));
    for (int i = 0; i < row.to; ++i) host.append(to, joined({"t", std::to_string(i)}));
    const std::uint32_t bytes = host.document->chunkBytes;
    host.record();
    EXPECT_EQ(ARB_OK, ArbNodeTransferChildren(from, to));
    EXPECT_EQ(row.after, host.shape(to));
    EXPECT_EQ("from", host.shape(from));
    EXPECT_EQ(static_cast<std::uint32_t>(row.from + row.to), to->childCount);
    EXPECT_EQ(0u, from->childCount);
    EXPECT_EQ(Lines{}, host.events.take());
    EXPECT_EQ(bytes, host.document->chunkBytes);
    if (row.from && row.to == 0) {
      EXPECT_FALSE(resolve(to->lastChildCell)->flags & ARB_NODE_IN_TREE);
    }
    EXPECT_EQ(ARB_OK, ArbNodeDestroy(from));
  }
}

// The counts of freed children stay behind in a transfer, so they no longer tell how many children live.
TEST(Editing, ATransferAfterAChildWasFreedLeavesTreesThatCanBeDestroyed) {
  for (const bool targetLostOne : {false, true}) {
    SCOPED_TRACE(targetLostOne);
    const std::uint64_t elements = liveElements();
    Host host(1);
    ArbNode* const root = rootOf(host.makeTree());
    ArbNode* const from = host.append(root, "from");
    ArbNode* const to = host.append(root, "to");
    for (const char* const name : {"a", "b", "c"}) host.append(from, name);
    EXPECT_EQ(ARB_OK, ArbNodeProducerRelease(resolve(from->firstChildCell)));
    if (targetLostOne) {
      ArbNode* const x = host.append(to, "x");
      host.append(to, "y");
      EXPECT_EQ(ARB_OK, ArbNodeProducerRelease(x));
    }
    EXPECT_EQ("from(b c)", host.shape(from));
    EXPECT_EQ(ARB_OK, ArbNodeTransferChildren(from, to));
    EXPECT_EQ(ARB_OK, ArbNodeProducerReleaseSubtree(root));
    host.destroy();
    EXPECT_EQ(elements, liveElements());
  }
}

TEST(Attaching, ASubtreeIsCountedAndAnnouncedWhenItJoins) {
  Host host;
  host.record();
  ArbTree* const tree = host.makeTree();
  host.events.take();
  ArbNode* const top = host.make(tree, "top");
  ArbNode* const a = host.append(top, "a");
  host.append(a, "b");
  ArbNode* const text = host.append(top, "t", ARB_ELEM_TEXT);
  EXPECT_EQ(ARB_OK, ArbAbstractTextNodeSetValue(text, u"0123456789", 10));
  EXPECT_EQ((Lines{"created top", "created a", "linked a", "created b", "linked b", "created t", "linked t"}),
            host.events.take());
  EXPECT_EQ(0u, host.document->chunkBytes);
  EXPECT_EQ(ARB_OK, ArbNodeAppendChild(rootOf(tree), top));
  EXPECT_EQ((Lines{"linked top", "in-tree top", "in-tree a", "in-tree b", "in-tree t"}), host.events.take());
  const std::uint32_t bytes = 3u * sizeof(ElementNode) + text->size + 20u;
  EXPECT_EQ(bytes, host.document->chunkBytes);
  EXPECT_EQ(sizeof(ArbTextNode), text->size);

  // A node that grows after it has joined is not counted again.
  EXPECT_EQ(ARB_OK, ArbAbstractTextNodeSetValue(text, u"0123456789abcdef", 16));
  EXPECT_EQ(bytes, host.document->chunkBytes);
}

TEST(Attaching, BytesOfEachKind) {
  Host host;
  EXPECT_EQ(ARB_OK, (host.then([] { return kPause; }), ArbDocumentReadAhead(host.document)));
  ArbNode* const root = rootOf(host.makeTree());
  struct Row {
    std::uint32_t id;
    std::size_t size;
    bool text;
  };
  for (const Row& row :
       {Row{ARB_ELEM_TEXT, sizeof(ArbTextNode), true}, Row{ARB_ELEM_TEXT_3, sizeof(ArbTextNode), true},
        Row{ARB_ELEM_TEXT_4, sizeof(ArbTextNode), true}, Row{ARB_ELEM_ENCODED_BYTES, sizeof(ArbEncodedBytesNode), true},
        Row{ARB_ELEM_EXTERNAL_REFERENCE, sizeof(ArbExternalReferenceNode), false},
        Row{elementId(1), sizeof(ElementNode), false}}) {
    SCOPED_TRACE(row.id);
    ArbNode* const node = host.make(root->tree, "n", row.id);
    EXPECT_EQ(row.size, node->size);
    if (row.text) {
      EXPECT_EQ(ARB_OK, ArbAbstractTextNodeSetValue(node, u"abcde", 5));
    }
    const std::uint32_t before = host.document->chunkBytes;
    EXPECT_EQ(ARB_OK, ArbNodeAppendChild(root, node));
    EXPECT_EQ(row.size + (row.text ? 10 : 0), host.document->chunkBytes - before);
  }
}

TEST(Attaching, ARemovedNodeJoinsAgainWithoutItsDescendants) {
  Host host(1);
  ArbTree* const tree = host.makeTree();
  ArbNode* const root = rootOf(tree);
  ArbNode* const a = host.append(root, "a");
  ArbNode* const b = host.append(a, "b");
  host.append(b, "c");
  EXPECT_EQ(ARB_OK, ArbNodeRemoveFromTree(a));
  EXPECT_FALSE(a->flags & ARB_NODE_IN_TREE);
  EXPECT_TRUE(b->flags & ARB_NODE_IN_TREE);
  host.append(a, "new");
  const std::uint32_t before = host.document->chunkBytes;
  host.record();
  EXPECT_EQ(ARB_OK, ArbNodeAppendChild(root, a));
  EXPECT_EQ((Lines{"linked a", "in-tree a", "in-tree new"}), host.events.take());
  EXPECT_EQ(2 * sizeof(ElementNode), host.document->chunkBytes - before);

  // An inserted node is announced when its neighbour is in the tree.
  ArbNode* const x = host.make(tree, "x");
  host.append(x, "y");
  host.events.take();
  EXPECT_EQ(ARB_OK, ArbNodeInsertSiblingBefore(a, x));
  EXPECT_EQ((Lines{"linked x", "in-tree x", "in-tree y"}), host.events.take());
}

}  // namespace
}  // namespace arbtree::test
