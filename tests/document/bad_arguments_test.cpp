// A null document, tree, node, child or required out-parameter is refused before every other check, in both modes.
#include <functional>
#include <set>
#include <string>

#include "support/every_function.h"

namespace arbtree::test {
namespace {

// A null first argument means something to these: nothing is there, so nothing comes of it.
const std::set<std::string> kTakeNull = {
    "DocumentSetMemoryLimit", "DocumentOrderTraverser", "NodeRefWaitNode", "NodeRefQueryNode", "NodeRefQueryIdString",
    "NodeRefWaitIdString",    "NodeAttributesAreEqual", "NodeIsEqual",     "NodeHashCode",     "StringGetHashCode"};

// In a run of each mode; afterwards nothing has been made or changed.
void inBothModes(const std::function<void(Content&)>& body) {
  for (const std::uint32_t mode : {0u, 1u}) {
    SCOPED_TRACE(mode);
    Content c(mode);
    c.run([&] {
      const std::uint32_t nodes = c.document->nodeCounter;
      const std::string shape = c.host.shape(c.root);
      body(c);
      EXPECT_EQ(nodes, c.document->nodeCounter);
      EXPECT_EQ(1u, c.document->strings.count);
      EXPECT_EQ(3u, c.document->rootForest->childCount);
      EXPECT_EQ(shape, c.host.shape(c.root));
    });
    c.clear();
  }
}

TEST(BadArguments, ANullFirstArgument) {
  inBothModes([](Content& c) {
    std::size_t refused = 0;
    for (const FunctionCall& row : everyFunction()) {
      if (!row.withNull) continue;
      const std::string function = row.function;
      const bool takes = kTakeNull.count(function) != 0;
      const bool refusesMode = (c.document->flags & ARB_DOC_PRODUCER_ONLY) && function.starts_with("NodeRefWait");
      const ArbStatus taken = refusesMode ? ARB_ERR_MODE : ARB_OK;
      EXPECT_EQ(takes ? taken : ARB_ERR_BADARG, row.withNull(c)) << function;
      refused += !takes;
    }
    EXPECT_LT(100u, refused);
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeRestoreProducerNodeHooks(nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreePopCursor(nullptr, &c.node));
    ArbDocumentDoCallback(nullptr, 1, nullptr);
  });
}

TEST(BadArguments, OtherNulls) {
  inBothModes([](Content& c) {
    for (const auto call :
         {ArbNodeQueryFirstChild, ArbNodeWaitFirstChild, ArbNodeQueryLastChild, ArbNodeWaitLastChild,
          ArbNodeQueryNextSibling, ArbNodeWaitNextSibling, ArbNodeWaitPrevSibling, ArbNodeWaitParent}) {
      EXPECT_EQ(ARB_ERR_BADARG, call(c.root, nullptr));
    }
    ArbInterfaceFunction slot = nullptr;
    const char16_t* text = nullptr;
    EXPECT_EQ(ARB_ERR_BADARG, ArbNodeAppendChild(c.root, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbNodeTransferChildren(c.root, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreate(0, &c.host.context, nullptr, 0, 0, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentQueryBreak(c.document, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentRegisterCallback(c.document, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateForest(c.document, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateTree(c.document, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentGetInterface(nullptr, 0, &slot));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentGetInterface(c.document, 0, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateNode(c.tree, ARB_ELEM_TEXT, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeSaveProducerNodeHooks(nullptr, &c.saved));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeSaveProducerNodeHooks(c.tree, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbForestAppendChild(c.document->rootForest, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbNodeRefWaitNode(c.root->cell, nullptr, &c.node));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateFloatingNodeReference(c.tree, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateNamedNodeReference(c.tree, nullptr, &c.cell));
    EXPECT_EQ(ARB_ERR_BADARG, ArbNodeRefWaitIdString(c.root->cell, nullptr, &c.string));
    EXPECT_EQ(ARB_ERR_BADARG, ArbNodeSetIDString(c.root, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateString(c.document, nullptr, &c.string));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateString(c.document, u"a", nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateFile(c.document, u"x", 1, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentTransferFile(c.document, nullptr, &c.madeFile));
    EXPECT_EQ(ARB_ERR_BADARG, ArbForestChildGetDocumentPath(asChild(c.tree), nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbExternalReferenceNodeGetEntityName(c.root, &text)) << "another kind";
    // The sibling calls of child documents test the mode before their out-parameter, and so does inserting a node.
    const bool hasConsumer = !(c.document->flags & ARB_DOC_PRODUCER_ONLY);
    EXPECT_EQ(hasConsumer ? ARB_ERR_MODE : ARB_ERR_BADARG, ArbNodeInsertSiblingBefore(c.root, nullptr));
    for (const auto call :
         {ArbForestChildQueryNextSibling, ArbForestChildWaitNextSibling, ArbForestChildWaitPrevSibling}) {
      EXPECT_EQ(hasConsumer ? ARB_ERR_BADARG : ARB_ERR_MODE, call(asChild(c.tree), nullptr));
    }
  });
}

// Runs answer that there is nothing to run, and go on answering it.
TEST(BadArguments, NoProducer) {
  ArbHostContext noEntries{};
  for (ArbHostContext* const context : {static_cast<ArbHostContext*>(nullptr), &noEntries}) {
    ArbDocument* document = nullptr;
    ok(ArbDocumentCreate(0, context, nullptr, 0, 0, &document));
    for (int run = 0; run < 2; ++run) EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentReadAhead(document));
    EXPECT_EQ(ARB_ERR_BADARG, ArbForestWaitAllChildrenAttached(document->rootForest));
    ok(ArbDocumentDestroy(document));
  }
}

}  // namespace
}  // namespace arbtree::test
