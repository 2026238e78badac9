// A null document, tree, node, child or required out-parameter is refused before every other check, in both modes.
#include <gtest/gtest.h>

#include <initializer_list>

#include "support/host.h"

namespace arbtree::test {
namespace {

template <typename Record>
using Call = ArbStatus(ARB_CALL*)(Record*);
template <typename Record, typename Result>
using Asking = ArbStatus(ARB_CALL*)(Record*, Result*);
using Search = ArbStatus(ARB_CALL*)(ArbNode*, std::uint32_t, ArbNode**);

// Calls of one shape: a null record, and where it is required a null result, are refused.
template <typename Record>
void refuseNull(std::initializer_list<Call<Record>> calls) {
  int number = 0;
  for (const Call<Record> call : calls) EXPECT_EQ(ARB_ERR_BADARG, call(nullptr)) << "call " << number++;
}
template <typename Record, typename Result>
void refuseNull(std::initializer_list<Asking<Record, Result>> calls, Record* record = nullptr) {
  int number = 0;
  for (const Asking<Record, Result> call : calls) {
    Result result{};
    EXPECT_EQ(ARB_ERR_BADARG, call(nullptr, &result)) << "call " << number;
    if (record) {
      EXPECT_EQ(ARB_ERR_BADARG, call(record, nullptr)) << "result of call " << number;
    }
    ++number;
  }
}

TEST(BadArguments, NullIsRefusedFirst) {
  for (const std::uint32_t mode : {0u, 1u}) {
    SCOPED_TRACE(mode);
    Host host(mode);
    ArbDocument* const document = host.document;
    ArbForest* const forest = document->rootForest;
    ArbTree* const tree = host.makeTree();
    ArbNode* const root = rootOf(tree);

    refuseNull<ArbDocument>({ArbDocumentDestroy, ArbDocumentReadAhead, ArbDocumentForceBreak});
    refuseNull<ArbTree>({ArbTreeDestroy, ArbTreeClearProducerNodeHooks});
    refuseNull<ArbNode>({ArbNodeDestroy, ArbNodeRemoveFromTree, ArbNodeAttributesDone, ArbNodeAllChildrenAttached,
                         ArbNodeProducerDone, ArbNodeProducerDoneSubtree, ArbNodeProducerRelease,
                         ArbNodeProducerReleaseSubtree, ArbNodeConsumerRelease, ArbNodeConsumerReleaseSubtree,
                         ArbNodeCreateID, ArbNodeSetSeparateStream, ArbNodeSetSkipIfEmpty, ArbNodeWaitProducerDone,
                         ArbNodeWaitAllChildrenAttached, ArbNodeWaitAttributesDone});
    refuseNull<ArbForest>({ArbForestAllChildrenAttached, ArbForestProducerReleaseSubtree,
                           ArbForestWaitAllChildrenAttached, ArbForestConsumerReleaseSubtree, ArbForestDestroy});
    refuseNull<ArbForestChild>(
        {ArbForestChildProducerDone, ArbForestChildProducerRelease, ArbForestChildConsumerRelease});
    refuseNull<ArbFile>({ArbFileDestroy});

    refuseNull<ArbDocument, std::uint32_t>({ArbDocumentQueryBreak}, document);
    refuseNull<ArbTree, ArbSavedHooks*>({ArbTreeSaveProducerNodeHooks}, tree);
    refuseNull<ArbNode, ArbNode*>(
        {ArbNodeQueryFirstChild, ArbNodeWaitFirstChild, ArbNodeQueryLastChild, ArbNodeWaitLastChild,
         ArbNodeQueryNextSibling, ArbNodeWaitNextSibling, ArbNodeWaitPrevSibling, ArbNodeWaitParent},
        root);
    refuseNull<ArbTree, ArbNode*>({ArbTreeQueryRootNode, ArbTreeWaitRootNode});
    refuseNull<ArbNode, std::uint32_t>({ArbNodeQueryChildCount, ArbNodeWaitChildCount});
    refuseNull<ArbForest, std::uint32_t>({ArbForestQueryChildCount, ArbForestWaitChildCount});
    refuseNull<ArbForest, ArbForestChild*>(
        {ArbForestQueryFirstChild, ArbForestWaitFirstChild, ArbForestQueryLastChild, ArbForestWaitLastChild});
    refuseNull<ArbForestChild, ArbForestChild*>(
        {ArbForestChildQueryNextSibling, ArbForestChildWaitNextSibling, ArbForestChildWaitPrevSibling});
    refuseNull<ArbNode, ArbNode>({ArbNodeAppendChild, ArbNodeInsertSiblingBefore, ArbNodeTransferChildren}, root);
    refuseNull<ArbForest, ArbForestChild>({ArbForestAppendChild}, forest);

    ArbNode* node = nullptr;
    for (const Search search :
         {ArbNodeGetFirstChildByElementId, ArbNodeGetNextSiblingByElementId, ArbNodeGetAncestorByElementId,
          ArbNodeQueryFirstChildByElementId, ArbNodeWaitFirstChildByElementId, ArbNodeWaitNextSiblingByElementId,
          ArbNodeWaitAncestorByElementId}) {
      EXPECT_EQ(ARB_ERR_BADARG, search(nullptr, 1, &node));
    }
    ArbForest* madeForest = nullptr;
    ArbTree* madeTree = nullptr;
    ArbInterfaceFunction slot = nullptr;
    ArbNodeDestroyer destroyer = nullptr;
    ArbNodeFactory factory = nullptr;
    std::uint32_t number = 0;
    const char16_t* text = nullptr;
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreate(0, &host.context, nullptr, 0, mode, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateForest(nullptr, nullptr, &madeForest));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateForest(document, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateTree(nullptr, nullptr, &madeTree));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateTree(document, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentGetInterface(nullptr, 0, &slot));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentGetInterface(document, 0, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentSetInterface(nullptr, 0, [] {}));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentSetChunkBreakSize(nullptr, 1));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentRegisterCallback(nullptr, Recorder::onEvent, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentUnregisterCallback(nullptr, Recorder::onEvent));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateNode(nullptr, ARB_ELEM_TEXT, nullptr, &node));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateNode(tree, ARB_ELEM_TEXT, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeGetNodeDestroyer(nullptr, 2, &destroyer));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeGetNodeFactory(nullptr, 2, &factory));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeAddNodeFactory(nullptr, kTestNamespace));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeSetDefaultNamespace(nullptr, kTestNamespace));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeSetProducerNodeHook(nullptr, 1, 1, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCallProducerNodeHook(nullptr, 1, 1, root, &number));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeRestoreProducerNodeHooks(nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbNodeRefWaitNode(root->cell, nullptr, &node));
    EXPECT_EQ(ARB_ERR_BADARG, ArbNodeSetMetadata(nullptr, 1, "x", 1));
    EXPECT_EQ(ARB_ERR_BADARG, ArbNodeGetMetadata(nullptr, 1, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbForestChildSetMetadata(nullptr, 1, "x", 1));
    EXPECT_EQ(ARB_ERR_BADARG, ArbForestChildGetMetadata(nullptr, 1, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbForestSetArchiveType(nullptr, 1));
    EXPECT_EQ(ARB_ERR_BADARG, ArbAbstractTextNodeGetValue(nullptr, &text, &number));
    EXPECT_EQ(ARB_ERR_BADARG, ArbAbstractTextNodeSetValue(nullptr, u"x", 1));
    ArbNodeRef* cell = nullptr;
    ArbString* string = nullptr;
    ArbFile* file = nullptr;
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateFloatingNodeReference(nullptr, &cell));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateFloatingNodeReference(tree, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreeCreateNamedNodeReference(tree, nullptr, &cell));
    EXPECT_EQ(ARB_ERR_BADARG, ArbNodeRefWaitIdString(root->cell, nullptr, &string));
    EXPECT_EQ(ARB_ERR_BADARG, ArbNodeSetIDString(root, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreePushCursor(nullptr, root));
    EXPECT_EQ(ARB_ERR_BADARG, ArbTreePopCursor(nullptr, &node));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateString(nullptr, u"a", &string));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateString(document, nullptr, &string));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateString(document, u"a", nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentCreateFile(document, u"x", 1, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbDocumentTransferFile(document, nullptr, &file));
    EXPECT_EQ(ARB_ERR_BADARG, ArbForestChildGetDocumentPath(asChild(tree), nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbForestChildGetDocumentPath(nullptr, nullptr, &number));
    EXPECT_EQ(ARB_ERR_BADARG, ArbEncodedBytesNodeSetValue(nullptr, "ab", 2, 3, 1));
    EXPECT_EQ(ARB_ERR_BADARG, ArbEncodedBytesNodeGetValue(nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ARB_ERR_BADARG, ArbExternalReferenceNodeGetEntityName(root, &text)) << "another kind";
    EXPECT_EQ(ARB_ERR_BADARG, ArbExternalReferenceNodeGetEntityName(nullptr, &text));
    EXPECT_EQ(ARB_ERR_BADARG, ArbFileWrite(nullptr, 0));
    EXPECT_EQ(0u, document->strings.count);
    ArbDocumentDoCallback(nullptr, 1, nullptr);
    EXPECT_EQ("root", host.shape(root));
    EXPECT_EQ(1u, forest->childCount);
    EXPECT_TRUE(host.runs.empty());
  }
}

// The sibling calls of child documents test the mode before their out-parameter.
TEST(BadArguments, SiblingOutParameterComesAfterTheMode) {
  for (const std::uint32_t mode : {0u, 1u}) {
    Host host(mode);
    ArbForestChild* const child = asChild(host.makeTree());
    for (const auto call :
         {ArbForestChildQueryNextSibling, ArbForestChildWaitNextSibling, ArbForestChildWaitPrevSibling}) {
      EXPECT_EQ(mode ? ARB_ERR_MODE : ARB_ERR_BADARG, call(child, nullptr)) << mode;
    }
  }
}

}  // namespace
}  // namespace arbtree::test
