// A null document, tree, node, child or required out-parameter is refused before every other check, in both modes.
#include <set>
#include <string>

#include "support/every_function.h"

namespace arbtree::test {
namespace {

// A null first argument means something to these: nothing is there, so nothing comes of it.
const std::set<std::string> kTakeNull = {
    "DocumentSetMemoryLimit", "DocumentOrderTraverser", "NodeRefWaitNode", "NodeRefQueryNode", "NodeRefQueryIdString",
    "NodeRefWaitIdString",    "NodeAttributesAreEqual", "NodeIsEqual",     "NodeHashCode",     "StringGetHashCode"};

TEST(BadArguments, ANullFirstArgument) {
  for (const std::uint32_t mode : {0u, 1u}) {
    SCOPED_TRACE(mode);
    Content c(mode);
    c.run([&] {
      const std::uint32_t nodes = c.document->nodeCounter;
      std::size_t refused = 0;
      for (const FunctionCall& row : everyFunction()) {
        if (!row.withNull) continue;
        const std::string function = row.function;
        const bool takes = kTakeNull.count(function) != 0;
        const ArbStatus taken = mode == 1 && function.starts_with("NodeRefWait") ? ARB_ERR_MODE : ARB_OK;
        EXPECT_EQ(takes ? taken : ARB_ERR_BADARG, row.withNull(c)) << function;
        refused += !takes;
      }
      EXPECT_LT(100u, refused);
      EXPECT_EQ(ARB_ERR_BADARG, ArbTreeRestoreProducerNodeHooks(nullptr, nullptr));
      EXPECT_EQ(ARB_ERR_BADARG, ArbTreePopCursor(nullptr, &c.node));
      ArbDocumentDoCallback(nullptr, 1, nullptr);
      EXPECT_EQ(nodes, c.document->nodeCounter);
      EXPECT_EQ(1u, c.document->strings.count);
    });
    c.clear();
  }
}

TEST(BadArguments, OtherNulls) {
  for (const std::uint32_t mode : {0u, 1u}) {
    SCOPED_TRACE(mode);
    Host host(mode);
    ArbDocument* const document = host.document;
    ArbTree* const tree = host.makeTree();
    ArbNode* const root = rootOf(tree);
    for (const auto step :
         {ArbNodeQueryFirstChild, ArbNodeWaitFirstChild, ArbNodeQueryLastChild, ArbNodeWaitLastChild,
          ArbNodeQueryNextSibling, ArbNodeWaitNextSibling, ArbNodeWaitPrevSibling, ArbNodeWaitParent}) {
      EXPECT_EQ(ARB_ERR_BADARG, step(root, nullptr));
    }
    for (const auto edit : {ArbNodeAppendChild, ArbNodeTransferChildren}) {
      EXPECT_EQ(ARB_ERR_BADARG, edit(root, nullptr));
    }
    ArbNode* node = nullptr;
    ArbNodeRef* cell = nullptr;
    ArbString* string = nullptr;
    ArbFile* file = nullptr;
    ArbSavedHooks* saved = nullptr;
    ArbInterfaceFunction slot = nullptr;
    const char16_t* text = nullptr;
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreate(0, &host.context, nullptr, 0, mode, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentQueryBreak(document, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentRegisterCallback(document, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateForest(document, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateTree(document, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentGetInterface(nullptr, 0, &slot));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentGetInterface(document, 0, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateNode(tree, ARB_ELEM_TEXT, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeSaveProducerNodeHooks(nullptr, &saved));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeSaveProducerNodeHooks(tree, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbForestAppendChild(document->rootForest, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbNodeRefWaitNode(root->cell, nullptr, &node));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateFloatingNodeReference(tree, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateNamedNodeReference(tree, nullptr, &cell));
    EXPECT_EQ(ARB_ERR_BADARG, ArbNodeRefWaitIdString(root->cell, nullptr, &string));
    EXPECT_EQ(ARB_ERR_BADARG, ArbNodeSetIDString(root, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateString(document, nullptr, &string));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateString(document, u"a", nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateFile(document, u"x", 1, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentTransferFile(document, nullptr, &file));
    EXPECT_EQ(ARB_ERR_BADARG, ArbForestChildGetDocumentPath(asChild(tree), nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbExternalReferenceNodeGetEntityName(root, &text)) << "another kind";
    EXPECT_EQ(0u, document->strings.count);
    EXPECT_EQ("root", host.shape(root));
    EXPECT_EQ(1u, document->rootForest->childCount);
    EXPECT_TRUE(host.runs.empty());
  }
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

// The sibling calls of child documents test the mode before their out-parameter, and so does inserting a node.
TEST(BadArguments, SecondArgumentsThatComeAfterTheMode) {
  for (const std::uint32_t mode : {0u, 1u}) {
    Host host(mode);
    ArbTree* const tree = host.makeTree();
    EXPECT_EQ(mode ? ARB_ERR_BADARG : ARB_ERR_MODE, ArbNodeInsertSiblingBefore(rootOf(tree), nullptr)) << mode;
    ArbForestChild* const child = asChild(tree);
    for (const auto call :
         {ArbForestChildQueryNextSibling, ArbForestChildWaitNextSibling, ArbForestChildWaitPrevSibling}) {
      EXPECT_EQ(mode ? ARB_ERR_MODE : ARB_ERR_BADARG, call(child, nullptr)) << mode;
    }
  }
}

}  // namespace
}  // namespace arbtree::test
