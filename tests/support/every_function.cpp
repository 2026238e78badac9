#include "support/every_function.h"

#include <string>

#include "arbtree/compwrite.h"

namespace arbtree::test {

namespace {
constexpr std::uint32_t kHostEvent = 100;

std::uint32_t ARB_CALL noHook(std::uintptr_t, void*) { return 1; }
std::uint32_t ARB_CALL noEvent(ArbDocument*, std::uint32_t, void*, void*) { return 0; }
std::uint32_t ARB_CALL noWriter(ArbHostContext*, ArbFile*, std::uint32_t, void*) { return 0; }
}  // namespace

Content::Content(std::uint32_t mode) : host(mode) {
  EXPECT_EQ(ARB_OK, CompWriteSetWriter(&host.context, noWriter, nullptr));
  EXPECT_EQ(ARB_OK, ArbDocumentRegisterCallback(host.document, noEvent, nullptr));
}

Content::~Content() { EXPECT_EQ(ARB_OK, CompWriteRemoveWriter(&host.context)); }

void Content::build() {
  document = host.document;
  tree = host.makeTree();
  finished = host.makeTree();
  root = rootOf(tree);
  a = host.append(root, "a");
  b = host.append(a, "b", elementId(2));
  text = host.append(root, "text", ARB_ELEM_TEXT);
  bytes = host.append(root, "bytes", ARB_ELEM_ENCODED_BYTES);
  reference = host.append(root, "reference", ARB_ELEM_EXTERNAL_REFERENCE);
  for (ArbNode* const done : {b, a, text, bytes, reference}) EXPECT_EQ(ARB_OK, ArbNodeProducerDone(done));
  open = host.append(root, "open", elementId(3));
  trigger = host.append(root, "trigger", kTrigger);
  loose = host.make(tree, "loose");
  host.append(loose, "below");
  EXPECT_EQ(ARB_OK, ArbDocumentCreateForest(document, u"nested", &nested));
  EXPECT_EQ(ARB_OK, ArbForestAppendChild(document->rootForest, asChild(nested)));
  EXPECT_EQ(ARB_OK, ArbDocumentCreateForest(document, u"loose", &looseForest));
  EXPECT_EQ(ARB_OK, ArbDocumentCreateTree(document, u"loose", &looseTree));
  EXPECT_EQ(ARB_OK, ArbDocumentCreateFile(document, u"loose", 1, &file));
  EXPECT_EQ(ARB_OK, ArbDocumentCreateString(document, u"name", &name));
  EXPECT_EQ(ARB_OK, ArbTreeCreateFloatingNodeReference(tree, &floating));
  EXPECT_EQ(ARB_OK, ArbTreeSaveProducerNodeHooks(tree, &saved));
}

void Content::finish() {
  host.append(root, "last");
  if (saved) {
    EXPECT_EQ(ARB_OK, ArbTreeRestoreProducerNodeHooks(tree, saved));
  }
  EXPECT_EQ(ARB_OK, ArbNodeProducerDoneSubtree(root));
}

void Content::run(const std::function<void()>& middle) {
  host.then([] { return kPause; });
  host.then([&] {
    build();
    middle();
    EXPECT_EQ(ARB_OK, ArbNodeAttributesDone(trigger));
    finish();
    return ARB_OK;
  });
  EXPECT_EQ(ARB_OK, ArbDocumentReadAhead(host.document));
  EXPECT_EQ(ARB_STATUS_END, ArbDocumentReadAhead(host.document));
  EXPECT_EQ(2u, host.runs.size());
  EXPECT_FALSE(host.document->flags & ARB_DOC_RUNNING);
}

void Content::clear() {
  const std::string shape = host.shape(root);
  EXPECT_NE(std::string::npos, shape.find("text bytes reference open")) << shape;
  EXPECT_NE(std::string::npos, shape.find("trigger last)")) << shape;
  for (ArbNode* const left : {loose, madeNode}) EXPECT_TRUE(!left || ArbNodeDestroy(left) == ARB_OK);
  EXPECT_TRUE(!looseForest || ArbForestDestroy(looseForest) == ARB_OK);
  EXPECT_TRUE(!looseTree || ArbTreeDestroy(looseTree) == ARB_OK);
  EXPECT_TRUE(!file || ArbFileDestroy(file) == ARB_OK);
  ArbForestConsumerReleaseSubtree(document->rootForest);
  EXPECT_EQ(ARB_OK, ArbForestProducerReleaseSubtree(document->rootForest));
  EXPECT_EQ("root", host.shape(root).substr(0, 4));
  host.destroy();
}

const std::vector<FunctionCall>& everyFunction() {
  using C = Content;
  constexpr std::uint32_t kNotReady = ARB_ERR_NOTREADY;
  static const ArbTraverserCallbacks silent{};
  static const std::vector<FunctionCall> calls = {
      {"DocumentCreate", 0,
       [](C& c) {
         ArbDocument* other = nullptr;
         const ArbStatus status = ArbDocumentCreate(0, &c.host.context, nullptr, 0, 0, &other);
         return other ? ArbDocumentDestroy(other) : status;
       }},
      {"DocumentCreateForest", 0,
       [](C& c) { return c.keep(ArbDocumentCreateForest(c.document, nullptr, &c.madeForest), c.madeForest); }},
      {"DocumentGetInterface", 0,
       [](C& c) {
         ArbInterfaceFunction f;
         return ArbDocumentGetInterface(c.document, 0, &f);
       }},
      {"DocumentSetInterface", 0,
       [](C& c) { return ArbDocumentSetInterface(c.document, 2, reinterpret_cast<ArbInterfaceFunction>(noHook)); }},
      {"DocumentSetMemoryLimit", 0, [](C& c) { return ArbDocumentSetMemoryLimit(c.document, 1); }},
      {"DocumentReadAhead", kNotReady, [](C& c) { return ArbDocumentReadAhead(c.document); }},
      {"DocumentQueryBreak", 0, [](C& c) { return ArbDocumentQueryBreak(c.document, &c.number); }},
      {"DocumentForceBreak", 0, [](C& c) { return ArbDocumentForceBreak(c.document); }},
      {"DocumentSetChunkBreakSize", 0, [](C& c) { return ArbDocumentSetChunkBreakSize(c.document, 1); }},
      {"DocumentRegisterCallback", 0, [](C& c) { return ArbDocumentRegisterCallback(c.document, noEvent, nullptr); }},
      {"DocumentUnregisterCallback", 0, [](C& c) { return ArbDocumentUnregisterCallback(c.document, noEvent); }},
      {"DocumentDoCallback", 0, [](C& c) { return ArbDocumentDoCallback(c.document, kHostEvent, c.a), ARB_OK; }},
      {"DocumentCreateTree", 0,
       [](C& c) { return c.keep(ArbDocumentCreateTree(c.document, nullptr, &c.madeTree), c.madeTree); }},
      {"TreeCreateNode", 0,
       [](C& c) { return c.keep(ArbTreeCreateNode(c.tree, elementId(9), c.floating, &c.madeNode), c.madeNode); }},
      {"TreeDestroy", 0, [](C& c) { return ArbTreeDestroy(std::exchange(c.looseTree, nullptr)); }},
      {"TreeGetNodeDestroyer", 0, [](C& c) { return ArbTreeGetNodeDestroyer(c.tree, kTestNamespace, nullptr); }},
      {"TreeQueryRootNode", 0, [](C& c) { return ArbTreeQueryRootNode(c.tree, &c.node); }},
      {"TreeWaitRootNode", 0, [](C& c) { return ArbTreeWaitRootNode(c.tree, &c.node); }},
      {"NodeDestroy", 0, [](C& c) { return ArbNodeDestroy(std::exchange(c.loose, nullptr)); }},
      {"NodeAppendChild", 0, [](C& c) { return ArbNodeAppendChild(c.open, std::exchange(c.loose, nullptr)); }},
      {"NodeInsertSiblingBefore", ARB_ERR_MODE, [](C& c) { return ArbNodeInsertSiblingBefore(c.open, c.loose); }},
      {"NodeInsertSiblingBefore", 0,
       [](C& c) { return ArbNodeInsertSiblingBefore(c.trigger, std::exchange(c.loose, nullptr)); }, 1},
      {"NodeRemoveFromTree", ARB_ERR_MODE, [](C& c) { return ArbNodeRemoveFromTree(c.a); }},
      {"NodeRemoveFromTree", 0, [](C& c) { return ArbNodeRemoveFromTree(c.a) || ArbNodeAppendChild(c.open, c.a); }, 1},
      {"NodeTransferChildren", 0, [](C& c) { return ArbNodeTransferChildren(c.loose, c.open); }},
      {"NodeAttributesDone", 0, [](C& c) { return ArbNodeAttributesDone(c.open); }},
      {"NodeAttributesDone", 0, [](C& c) { return ArbNodeAttributesDone(c.trigger); }},
      {"NodeAllChildrenAttached", 0, [](C& c) { return ArbNodeAllChildrenAttached(c.open); }},
      {"NodeProducerDone", 0, [](C& c) { return ArbNodeProducerDone(c.open); }},
      {"NodeProducerDone", 0, [](C& c) { return ArbNodeProducerDone(c.trigger); }},
      {"NodeProducerDoneSubtree", 0, [](C& c) { return ArbNodeProducerDoneSubtree(c.loose); }},
      {"NodeProducerRelease", 0, [](C& c) { return ArbNodeProducerRelease(c.b); }},
      {"NodeProducerRelease", 0, [](C& c) { return ArbNodeProducerRelease(c.trigger); }},
      {"NodeProducerReleaseSubtree", 0, [](C& c) { return ArbNodeProducerReleaseSubtree(c.a); }},
      {"NodeConsumerRelease", 0, [](C& c) { return ArbNodeConsumerRelease(c.b); }},
      {"NodeConsumerReleaseSubtree", 0, [](C& c) { return ArbNodeConsumerReleaseSubtree(c.a); }},
      {"NodeConsumerReleaseSubtree", 0,
       [](C& c) { return ArbNodeProducerReleaseSubtree(c.a) || ArbNodeConsumerReleaseSubtree(c.a); }},
      {"NodeConsumerReleaseSubtree", kNotReady, [](C& c) { return ArbNodeConsumerReleaseSubtree(c.open); }},
      {"NodeWaitProducerDone", 0, [](C& c) { return ArbNodeWaitProducerDone(c.a); }},
      {"NodeWaitProducerDone", kNotReady, [](C& c) { return ArbNodeWaitProducerDone(c.open); }},
      {"NodeSetMetadata", 0, [](C& c) { return ArbNodeSetMetadata(c.a, 1, "value", 5); }},
      {"NodeGetMetadata", ARB_ERR_NOTFOUND, [](C& c) { return ArbNodeGetMetadata(c.a, 2, nullptr, nullptr); }},
      {"NodeQueryChildCount", 0, [](C& c) { return ArbNodeQueryChildCount(c.a, &c.number); }},
      {"NodeWaitChildCount", 0, [](C& c) { return ArbNodeWaitChildCount(c.a, &c.number); }},
      {"NodeWaitChildCount", kNotReady, [](C& c) { return ArbNodeWaitChildCount(c.open, &c.number); }},
      {"NodeQueryFirstChild", 0, [](C& c) { return ArbNodeQueryFirstChild(c.root, &c.node); }},
      {"NodeWaitFirstChild", 0, [](C& c) { return ArbNodeWaitFirstChild(c.root, &c.node); }},
      {"NodeWaitFirstChild", kNotReady, [](C& c) { return ArbNodeWaitFirstChild(c.open, &c.node); }},
      {"NodeQueryLastChild", 0, [](C& c) { return ArbNodeQueryLastChild(c.a, &c.node); }},
      {"NodeWaitLastChild", 0, [](C& c) { return ArbNodeWaitLastChild(c.a, &c.node); }},
      {"NodeWaitLastChild", kNotReady, [](C& c) { return ArbNodeWaitLastChild(c.root, &c.node); }},
      {"NodeQueryNextSibling", 0, [](C& c) { return ArbNodeQueryNextSibling(c.a, &c.node); }},
      {"NodeWaitNextSibling", 0, [](C& c) { return ArbNodeWaitNextSibling(c.a, &c.node); }},
      {"NodeWaitNextSibling", kNotReady, [](C& c) { return ArbNodeWaitNextSibling(c.trigger, &c.node); }},
      {"NodeWaitPrevSibling", 0, [](C& c) { return ArbNodeWaitPrevSibling(c.open, &c.node); }},
      {"NodeWaitParent", 0, [](C& c) { return ArbNodeWaitParent(c.b, &c.node); }},
      {"NodeWaitAllChildrenAttached", 0, [](C& c) { return ArbNodeWaitAllChildrenAttached(c.a); }},
      {"NodeWaitAllChildrenAttached", kNotReady, [](C& c) { return ArbNodeWaitAllChildrenAttached(c.open); }},
      {"NodeWaitAttributesDone", 0, [](C& c) { return ArbNodeWaitAttributesDone(c.a); }},
      {"NodeWaitAttributesDone", kNotReady, [](C& c) { return ArbNodeWaitAttributesDone(c.open); }},
      {"NodeGetFirstChildByElementId", 0,
       [](C& c) { return ArbNodeGetFirstChildByElementId(c.root, kTrigger, &c.node); }},
      {"NodeGetNextSiblingByElementId", 0,
       [](C& c) { return ArbNodeGetNextSiblingByElementId(c.a, kTrigger, &c.node); }},
      {"NodeGetAncestorByElementId", 0,
       [](C& c) { return ArbNodeGetAncestorByElementId(c.b, ARB_ELEM_ROOT, &c.node); }},
      {"NodeQueryFirstChildByElementId", kNotReady,
       [](C& c) { return ArbNodeQueryFirstChildByElementId(c.root, 99, &c.node); }},
      {"NodeWaitFirstChildByElementId", 0,
       [](C& c) { return ArbNodeWaitFirstChildByElementId(c.root, kTrigger, &c.node); }},
      {"NodeWaitFirstChildByElementId", kNotReady,
       [](C& c) { return ArbNodeWaitFirstChildByElementId(c.root, 99, &c.node); }},
      {"NodeWaitNextSiblingByElementId", kNotReady,
       [](C& c) { return ArbNodeWaitNextSiblingByElementId(c.a, 99, &c.node); }},
      {"NodeWaitAncestorByElementId", 0,
       [](C& c) { return ArbNodeWaitAncestorByElementId(c.b, ARB_ELEM_ROOT, &c.node); }},
      {"NodeRefWaitNode", 0, [](C& c) { return ArbNodeRefWaitNode(c.a->cell, c.document, &c.node); }},
      {"NodeRefWaitNode", kNotReady, [](C& c) { return ArbNodeRefWaitNode(c.floating, c.document, &c.node); }},
      {"TreeCreateFloatingNodeReference", 0, [](C& c) { return ArbTreeCreateFloatingNodeReference(c.tree, &c.cell); }},
      {"TreeCreateNamedNodeReference", 0,
       [](C& c) { return ArbTreeCreateNamedNodeReference(c.tree, c.name, &c.cell); }},
      {"NodeRefQueryNode", kNotReady, [](C& c) { return ArbNodeRefQueryNode(c.floating, &c.node); }},
      {"NodeRefQueryIdString", 0, [](C& c) { return ArbNodeRefQueryIdString(c.a->cell, &c.string); }},
      {"NodeRefWaitIdString", kNotReady,
       [](C& c) { return ArbNodeRefWaitIdString(c.floating, c.document, &c.string); }},
      {"NodeRefWaitIdString", 0, [](C& c) { return ArbNodeRefWaitIdString(c.open->cell, c.document, &c.string); }},
      {"NodeCreateID", 0, [](C& c) { return ArbNodeCreateID(c.open); }},
      {"NodeSetIDString", 0, [](C& c) { return ArbNodeSetIDString(c.open, c.name); }},
      {"TreeSetProducerNodeHook", 0,
       [](C& c) { return ArbTreeSetProducerNodeHook(c.tree, ARB_HOOK_ATTRIBUTES_DONE, kTrigger, noHook, nullptr); }},
      {"TreeCallProducerNodeHook", 0,
       [](C& c) { return ArbTreeCallProducerNodeHook(c.tree, ARB_HOOK_NODE, elementId(1), c.a, nullptr); }},
      {"TreeSaveProducerNodeHooks", 0,
       [](C& c) {
         ArbSavedHooks* copy = nullptr;
         const ArbStatus status = ArbTreeSaveProducerNodeHooks(c.tree, &copy);
         return status == ARB_OK ? ArbTreeRestoreProducerNodeHooks(c.finished, copy) : status;
       }},
      {"TreeRestoreProducerNodeHooks", 0,
       [](C& c) { return ArbTreeRestoreProducerNodeHooks(c.tree, std::exchange(c.saved, nullptr)); }},
      {"TreeClearProducerNodeHooks", 0, [](C& c) { return ArbTreeClearProducerNodeHooks(c.tree); }},
      {"TreePushCursor", 0, [](C& c) { return ArbTreePushCursor(c.tree, c.a); }},
      {"TreePopCursor", 0, [](C& c) { return ArbTreePushCursor(c.tree, c.a) || ArbTreePopCursor(c.tree, &c.node); }},
      {"DocumentOrderTraverser", 1, [](C& c) { return ArbDocumentOrderTraverser(c.root, &silent, nullptr); }},
      {"TreeAddNodeFactory", 0, [](C& c) { return ArbTreeAddNodeFactory(c.tree, kTestNamespace); }},
      {"TreeGetNodeFactory", 0, [](C& c) { return ArbTreeGetNodeFactory(c.tree, kTestNamespace, nullptr); }},
      {"TreeSetDefaultNamespace", 0, [](C& c) { return ArbTreeSetDefaultNamespace(c.tree, kTestNamespace); }},
      {"AbstractTextNodeGetValue", 0, [](C& c) { return ArbAbstractTextNodeGetValue(c.text, nullptr, &c.number); }},
      {"AbstractTextNodeSetValue", 0, [](C& c) { return ArbAbstractTextNodeSetValue(c.text, u"text", 4); }},
      {"EncodedBytesNodeGetValue", 0,
       [](C& c) { return ArbEncodedBytesNodeGetValue(c.bytes, nullptr, nullptr, &c.number, nullptr); }},
      {"EncodedBytesNodeSetValue", 0, [](C& c) { return ArbEncodedBytesNodeSetValue(c.bytes, "abc", 3, 0, 1); }},
      {"EncodedBytesNodeSetValueEx", 0,
       [](C& c) { return ArbEncodedBytesNodeSetValueEx(c.bytes, "abc", 3, 0, 1, 0x22); }},
      {"DecodeBase64", 3,
       [](C&) {
         char bytes[4];
         return DecodeBase64(u"YWJj", 4, bytes, 4);
       }},
      {"TreeCreateExternalReferenceNode", 0,
       [](C& c) { return c.keep(ArbTreeCreateExternalReferenceNode(c.tree, nullptr, u"e", &c.madeNode), c.madeNode); }},
      {"ExternalReferenceNodeGetEntityName", 0,
       [](C& c) { return ArbExternalReferenceNodeGetEntityName(c.reference, nullptr); }},
      {"NodeSetSeparateStream", 0, [](C& c) { return ArbNodeSetSeparateStream(c.open); }},
      {"NodeSetSkipIfEmpty", 0, [](C& c) { return ArbNodeSetSkipIfEmpty(c.open); }},
      {"NodeAttributesAreEqual", 1, [](C& c) { return ArbNodeAttributesAreEqual(c.text, c.text); }},
      {"NodeIsEqual", 0, [](C& c) { return ArbNodeIsEqual(c.root, c.a); }},
      {"NodeHashCode", 1 ^ elementId(1) ^ elementId(2), [](C& c) { return ArbNodeHashCode(c.a); }},
      {"NodeClone", 0, [](C& c) { return c.keep(ArbNodeClone(c.text, nullptr, &c.madeNode), c.madeNode); }},
      {"NodeCloneSubtree", 0, [](C& c) { return c.keep(ArbNodeCloneSubtree(c.a, nullptr, &c.madeNode), c.madeNode); }},
      {"DocumentCreateString", 0, [](C& c) { return ArbDocumentCreateString(c.document, u"another", &c.string); }},
      {"StringCompare", 0, [](C& c) { return static_cast<std::uint32_t>(ArbStringCompare(c.name, c.name)); }},
      {"StringGetHashCode", 0x0061006E ^ 0x0065006D, [](C& c) { return ArbStringGetHashCode(c.name); }},
      {"ForestAppendChild", 0,
       [](C& c) { return ArbForestAppendChild(c.nested, asChild(std::exchange(c.looseForest, nullptr))); }},
      {"ForestAllChildrenAttached", 0, [](C& c) { return ArbForestAllChildrenAttached(c.nested); }},
      {"ForestSetArchiveType", 0, [](C& c) { return ArbForestSetArchiveType(c.nested, 2); }},
      {"ForestProducerReleaseSubtree", 0, [](C& c) { return ArbForestProducerReleaseSubtree(c.nested); }},
      {"ForestConsumerReleaseSubtree", 0, [](C& c) { return ArbForestConsumerReleaseSubtree(c.nested); }},
      {"ForestQueryChildCount", kNotReady, [](C& c) { return ArbForestQueryChildCount(c.nested, &c.number); }},
      {"ForestWaitChildCount", kNotReady, [](C& c) { return ArbForestWaitChildCount(c.nested, &c.number); }},
      {"ForestQueryFirstChild", kNotReady, [](C& c) { return ArbForestQueryFirstChild(c.nested, &c.child); }},
      {"ForestWaitFirstChild", kNotReady, [](C& c) { return ArbForestWaitFirstChild(c.nested, &c.child); }},
      {"ForestWaitFirstChild", 0, [](C& c) { return ArbForestWaitFirstChild(c.document->rootForest, &c.child); }},
      {"ForestQueryLastChild", kNotReady, [](C& c) { return ArbForestQueryLastChild(c.nested, &c.child); }},
      {"ForestWaitLastChild", kNotReady, [](C& c) { return ArbForestWaitLastChild(c.document->rootForest, &c.child); }},
      {"ForestWaitAllChildrenAttached", kNotReady, [](C& c) { return ArbForestWaitAllChildrenAttached(c.nested); }},
      {"ForestChildProducerDone", 0, [](C& c) { return ArbForestChildProducerDone(asChild(c.finished)); }},
      {"ForestChildProducerRelease", 0, [](C& c) { return ArbForestChildProducerRelease(asChild(c.finished)); }},
      {"ForestChildConsumerRelease", 0, [](C& c) { return ArbForestChildConsumerRelease(asChild(c.finished)); }},
      {"ForestChildQueryNextSibling", 0,
       [](C& c) { return ArbForestChildQueryNextSibling(asChild(c.tree), &c.child); }},
      {"ForestChildWaitNextSibling", kNotReady,
       [](C& c) { return ArbForestChildWaitNextSibling(asChild(c.nested), &c.child); }},
      {"ForestChildWaitPrevSibling", 0,
       [](C& c) { return ArbForestChildWaitPrevSibling(asChild(c.nested), &c.child); }},
      {"ForestChildSetMetadata", 0, [](C& c) { return ArbForestChildSetMetadata(asChild(c.tree), 1, "value", 5); }},
      {"ForestChildGetMetadata", ARB_ERR_NOTFOUND,
       [](C& c) { return ArbForestChildGetMetadata(asChild(c.tree), 2, nullptr, nullptr); }},
      {"ForestChildGetDocumentPath", 0,
       [](C& c) { return ArbForestChildGetDocumentPath(asChild(c.tree), nullptr, &(c.number = 999)); }},
      {"ForestDestroy", 0, [](C& c) { return ArbForestDestroy(std::exchange(c.looseForest, nullptr)); }},
      {"FileDestroy", 0, [](C& c) { return ArbFileDestroy(std::exchange(c.file, nullptr)); }},
      {"DocumentCreateFile", 0,
       [](C& c) { return c.keep(ArbDocumentCreateFile(c.document, nullptr, 1, &c.madeFile), c.madeFile); }},
      {"DocumentTransferFile", 0,
       [](C& c) { return c.keep(ArbDocumentTransferFile(c.document, c.file, &c.madeFile), c.madeFile); }},
      {"FileWrite", 0, [](C& c) { return ArbFileWrite(c.file, 1); }},
  };
  return calls;
}

}  // namespace arbtree::test
