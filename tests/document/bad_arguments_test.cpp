// A null document, tree, node, child or required out-parameter is refused before every other check, in both modes.
#include <gtest/gtest.h>

#include <functional>

#include "support/host.h"

namespace arbtree::test {
namespace {

TEST(BadArguments, NullIsRefusedFirst) {
  for (const std::uint32_t mode : {0u, 1u}) {
    SCOPED_TRACE(mode);
    Host host(mode);
    ArbDocument* const document = host.document;
    ArbForest* const forest = document->rootForest;
    ArbTree* const tree = host.makeTree();
    ArbNode* const root = rootOf(tree);
    ArbNode* node = nullptr;
    ArbForestChild* child = nullptr;
    ArbForest* madeForest = nullptr;
    ArbTree* madeTree = nullptr;
    ArbSavedHooks* saved = nullptr;
    ArbInterfaceFunction slot = nullptr;
    ArbNodeDestroyer destroyer = nullptr;
    ArbNodeFactory factory = nullptr;
    std::uint32_t number = 0;
    const char16_t* text = nullptr;
    struct Row {
      const char* name;
      std::function<ArbStatus()> call;
    };
    const Row rows[] = {
        {"DocumentCreate", [&] { return ArbDocumentCreate(0, &host.context, nullptr, 0, mode, nullptr); }},
        {"DocumentCreateForest", [&] { return ArbDocumentCreateForest(nullptr, nullptr, &madeForest); }},
        {"DocumentCreateForest out", [&] { return ArbDocumentCreateForest(document, nullptr, nullptr); }},
        {"DocumentDestroy", [] { return ArbDocumentDestroy(nullptr); }},
        {"DocumentGetInterface", [&] { return ArbDocumentGetInterface(nullptr, 0, &slot); }},
        {"DocumentGetInterface out", [&] { return ArbDocumentGetInterface(document, 0, nullptr); }},
        {"DocumentSetInterface",
         [&] { return ArbDocumentSetInterface(nullptr, 0, reinterpret_cast<ArbInterfaceFunction>(&ArbNodeDestroy)); }},
        {"DocumentReadAhead", [] { return ArbDocumentReadAhead(nullptr); }},
        {"DocumentQueryBreak", [&] { return ArbDocumentQueryBreak(nullptr, &number); }},
        {"DocumentQueryBreak out", [&] { return ArbDocumentQueryBreak(document, nullptr); }},
        {"DocumentForceBreak", [] { return ArbDocumentForceBreak(nullptr); }},
        {"DocumentSetChunkBreakSize", [] { return ArbDocumentSetChunkBreakSize(nullptr, 1); }},
        {"RegisterCallback", [&] { return ArbDocumentRegisterCallback(nullptr, Recorder::onEvent, nullptr); }},
        {"UnregisterCallback", [&] { return ArbDocumentUnregisterCallback(nullptr, Recorder::onEvent); }},
        {"DocumentCreateTree", [&] { return ArbDocumentCreateTree(nullptr, nullptr, &madeTree); }},
        {"DocumentCreateTree out", [&] { return ArbDocumentCreateTree(document, nullptr, nullptr); }},
        {"TreeCreateNode", [&] { return ArbTreeCreateNode(nullptr, ARB_ELEM_TEXT, nullptr, &node); }},
        {"TreeCreateNode out", [&] { return ArbTreeCreateNode(tree, ARB_ELEM_TEXT, nullptr, nullptr); }},
        {"TreeDestroy", [] { return ArbTreeDestroy(nullptr); }},
        {"TreeGetNodeDestroyer", [&] { return ArbTreeGetNodeDestroyer(nullptr, 2, &destroyer); }},
        {"TreeQueryRootNode", [&] { return ArbTreeQueryRootNode(nullptr, &node); }},
        {"TreeWaitRootNode", [&] { return ArbTreeWaitRootNode(nullptr, &node); }},
        {"NodeDestroy", [] { return ArbNodeDestroy(nullptr); }},
        {"AppendChild parent", [&] { return ArbNodeAppendChild(nullptr, root); }},
        {"AppendChild child", [&] { return ArbNodeAppendChild(root, nullptr); }},
        {"InsertSiblingBefore reference", [&] { return ArbNodeInsertSiblingBefore(nullptr, root); }},
        {"InsertSiblingBefore node", [&] { return ArbNodeInsertSiblingBefore(root, nullptr); }},
        {"RemoveFromTree", [] { return ArbNodeRemoveFromTree(nullptr); }},
        {"TransferChildren from", [&] { return ArbNodeTransferChildren(nullptr, root); }},
        {"TransferChildren to", [&] { return ArbNodeTransferChildren(root, nullptr); }},
        {"AttributesDone", [] { return ArbNodeAttributesDone(nullptr); }},
        {"AllChildrenAttached", [] { return ArbNodeAllChildrenAttached(nullptr); }},
        {"ProducerDone", [] { return ArbNodeProducerDone(nullptr); }},
        {"ProducerDoneSubtree", [] { return ArbNodeProducerDoneSubtree(nullptr); }},
        {"ProducerRelease", [] { return ArbNodeProducerRelease(nullptr); }},
        {"ProducerReleaseSubtree", [] { return ArbNodeProducerReleaseSubtree(nullptr); }},
        {"ConsumerRelease", [] { return ArbNodeConsumerRelease(nullptr); }},
        {"ConsumerReleaseSubtree", [] { return ArbNodeConsumerReleaseSubtree(nullptr); }},
        {"WaitProducerDone", [] { return ArbNodeWaitProducerDone(nullptr); }},
        {"SetMetadata", [] { return ArbNodeSetMetadata(nullptr, 1, "x", 1); }},
        {"GetMetadata", [] { return ArbNodeGetMetadata(nullptr, 1, nullptr, nullptr); }},
        {"QueryChildCount", [&] { return ArbNodeQueryChildCount(nullptr, &number); }},
        {"WaitChildCount", [&] { return ArbNodeWaitChildCount(nullptr, &number); }},
        {"QueryFirstChild", [&] { return ArbNodeQueryFirstChild(nullptr, &node); }},
        {"QueryFirstChild out", [&] { return ArbNodeQueryFirstChild(root, nullptr); }},
        {"WaitFirstChild", [&] { return ArbNodeWaitFirstChild(nullptr, &node); }},
        {"WaitFirstChild out", [&] { return ArbNodeWaitFirstChild(root, nullptr); }},
        {"QueryLastChild", [&] { return ArbNodeQueryLastChild(nullptr, &node); }},
        {"QueryLastChild out", [&] { return ArbNodeQueryLastChild(root, nullptr); }},
        {"WaitLastChild", [&] { return ArbNodeWaitLastChild(nullptr, &node); }},
        {"WaitLastChild out", [&] { return ArbNodeWaitLastChild(root, nullptr); }},
        {"QueryNextSibling", [&] { return ArbNodeQueryNextSibling(nullptr, &node); }},
        {"QueryNextSibling out", [&] { return ArbNodeQueryNextSibling(root, nullptr); }},
        {"WaitNextSibling", [&] { return ArbNodeWaitNextSibling(nullptr, &node); }},
        {"WaitNextSibling out", [&] { return ArbNodeWaitNextSibling(root, nullptr); }},
        {"WaitPrevSibling", [&] { return ArbNodeWaitPrevSibling(nullptr, &node); }},
        {"WaitPrevSibling out", [&] { return ArbNodeWaitPrevSibling(root, nullptr); }},
        {"WaitParent", [&] { return ArbNodeWaitParent(nullptr, &node); }},
        {"WaitParent out", [&] { return ArbNodeWaitParent(root, nullptr); }},
        {"WaitAllChildrenAttached", [] { return ArbNodeWaitAllChildrenAttached(nullptr); }},
        {"WaitAttributesDone", [] { return ArbNodeWaitAttributesDone(nullptr); }},
        {"GetFirstChildByElementId", [&] { return ArbNodeGetFirstChildByElementId(nullptr, 1, &node); }},
        {"GetNextSiblingByElementId", [&] { return ArbNodeGetNextSiblingByElementId(nullptr, 1, &node); }},
        {"GetAncestorByElementId", [&] { return ArbNodeGetAncestorByElementId(nullptr, 1, &node); }},
        {"QueryFirstChildByElementId", [&] { return ArbNodeQueryFirstChildByElementId(nullptr, 1, &node); }},
        {"WaitFirstChildByElementId", [&] { return ArbNodeWaitFirstChildByElementId(nullptr, 1, &node); }},
        {"WaitNextSiblingByElementId", [&] { return ArbNodeWaitNextSiblingByElementId(nullptr, 1, &node); }},
        {"WaitAncestorByElementId", [&] { return ArbNodeWaitAncestorByElementId(nullptr, 1, &node); }},
        {"RefWaitNode document", [&] { return ArbNodeRefWaitNode(root->cell, nullptr, &node); }},
        {"SetProducerNodeHook", [] { return ArbTreeSetProducerNodeHook(nullptr, 1, 1, nullptr, nullptr); }},
        {"CallProducerNodeHook", [&] { return ArbTreeCallProducerNodeHook(nullptr, 1, 1, root, &number); }},
        {"SaveProducerNodeHooks", [&] { return ArbTreeSaveProducerNodeHooks(nullptr, &saved); }},
        {"SaveProducerNodeHooks out", [&] { return ArbTreeSaveProducerNodeHooks(tree, nullptr); }},
        {"RestoreProducerNodeHooks", [] { return ArbTreeRestoreProducerNodeHooks(nullptr, nullptr); }},
        {"ClearProducerNodeHooks", [] { return ArbTreeClearProducerNodeHooks(nullptr); }},
        {"AddNodeFactory", [] { return ArbTreeAddNodeFactory(nullptr, kTestNamespace); }},
        {"GetNodeFactory", [&] { return ArbTreeGetNodeFactory(nullptr, 2, &factory); }},
        {"SetDefaultNamespace", [] { return ArbTreeSetDefaultNamespace(nullptr, kTestNamespace); }},
        {"TextGetValue", [&] { return ArbAbstractTextNodeGetValue(nullptr, &text, &number); }},
        {"TextSetValue", [] { return ArbAbstractTextNodeSetValue(nullptr, u"x", 1); }},
        {"ForestAppendChild forest", [&] { return ArbForestAppendChild(nullptr, asChild(tree)); }},
        {"ForestAppendChild child", [&] { return ArbForestAppendChild(forest, nullptr); }},
        {"ForestAllChildrenAttached", [] { return ArbForestAllChildrenAttached(nullptr); }},
        {"ForestSetArchiveType", [] { return ArbForestSetArchiveType(nullptr, 1); }},
        {"ForestChildProducerDone", [] { return ArbForestChildProducerDone(nullptr); }},
        {"ForestChildProducerRelease", [] { return ArbForestChildProducerRelease(nullptr); }},
        {"ForestProducerReleaseSubtree", [] { return ArbForestProducerReleaseSubtree(nullptr); }},
        {"ForestQueryChildCount", [&] { return ArbForestQueryChildCount(nullptr, &number); }},
        {"ForestWaitChildCount", [&] { return ArbForestWaitChildCount(nullptr, &number); }},
        {"ForestQueryFirstChild", [&] { return ArbForestQueryFirstChild(nullptr, &child); }},
        {"ForestWaitFirstChild", [&] { return ArbForestWaitFirstChild(nullptr, &child); }},
        {"ForestQueryLastChild", [&] { return ArbForestQueryLastChild(nullptr, &child); }},
        {"ForestWaitLastChild", [&] { return ArbForestWaitLastChild(nullptr, &child); }},
        {"ForestWaitAllChildrenAttached", [] { return ArbForestWaitAllChildrenAttached(nullptr); }},
        {"ForestChildQueryNextSibling", [&] { return ArbForestChildQueryNextSibling(nullptr, &child); }},
        {"ForestChildWaitNextSibling", [&] { return ArbForestChildWaitNextSibling(nullptr, &child); }},
        {"ForestChildWaitPrevSibling", [&] { return ArbForestChildWaitPrevSibling(nullptr, &child); }},
        {"ForestChildConsumerRelease", [] { return ArbForestChildConsumerRelease(nullptr); }},
        {"ForestConsumerReleaseSubtree", [] { return ArbForestConsumerReleaseSubtree(nullptr); }},
        {"ForestChildSetMetadata", [] { return ArbForestChildSetMetadata(nullptr, 1, "x", 1); }},
        {"ForestChildGetMetadata", [] { return ArbForestChildGetMetadata(nullptr, 1, nullptr, nullptr); }},
        {"ForestDestroy", [] { return ArbForestDestroy(nullptr); }},
        {"FileDestroy", [] { return ArbFileDestroy(nullptr); }},
    };
    for (const Row& row : rows) EXPECT_EQ(ARB_ERR_BADARG, row.call()) << row.name;
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
    const ArbStatus expected = mode ? ARB_ERR_MODE : ARB_ERR_BADARG;
    EXPECT_EQ(expected, ArbForestChildQueryNextSibling(child, nullptr)) << mode;
    EXPECT_EQ(expected, ArbForestChildWaitNextSibling(child, nullptr)) << mode;
    EXPECT_EQ(expected, ArbForestChildWaitPrevSibling(child, nullptr)) << mode;
  }
}

}  // namespace
}  // namespace arbtree::test
