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
  ok(CompWriteSetWriter(&host.context, noWriter, nullptr));
  ok(ArbDocumentRegisterCallback(host.document, noEvent, nullptr));
}

Content::~Content() { ok(CompWriteRemoveWriter(&host.context)); }

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
  for (ArbNode* const done : {b, a, text, bytes, reference}) ok(ArbNodeProducerDone(done));
  open = host.append(root, "open", elementId(3));
  trigger = host.append(root, "trigger", kTrigger);
  loose = host.make(tree, "loose");
  host.append(loose, "below");
  nested = host.makeForest(document->rootForest);
  looseForest = host.makeForest(nullptr);
  ok(ArbDocumentCreateTree(document, u"loose", &looseTree));
  file = host.makeFile(u"loose");
  name = host.makeString(u"name");
  ok(ArbTreeCreateFloatingNodeReference(tree, &floating));
  ok(ArbTreeSaveProducerNodeHooks(tree, &saved));
}

void Content::finish() {
  host.append(root, "last");
  if (saved) ok(ArbTreeRestoreProducerNodeHooks(tree, saved));
  ok(ArbNodeProducerDoneSubtree(root));
}

void Content::run(const std::function<void()>& middle) {
  host.then([] { return kPause; });
  host.then([&] {
    build();
    middle();
    ok(ArbNodeAttributesDone(trigger));
    finish();
    return ARB_OK;
  });
  ok(ArbDocumentReadAhead(host.document));
  EXPECT_EQ(ARB_STATUS_END, ArbDocumentReadAhead(host.document));
  EXPECT_EQ(2u, host.runs.size());
  EXPECT_FALSE(host.document->flags & ARB_DOC_RUNNING);
}

void Content::clear() {
  const std::string shape = host.shape(root);
  EXPECT_NE(std::string::npos, shape.find("text bytes reference open")) << shape;
  EXPECT_NE(std::string::npos, shape.find("trigger last)")) << shape;
  for (ArbNode* const left : {loose, madeNode}) {
    if (left && !(left->flags & ARB_NODE_LINKED)) ok(ArbNodeDestroy(left));
  }
  if (looseForest && !looseForest->child.parent) ok(ArbForestDestroy(looseForest));
  EXPECT_TRUE(!looseTree || ArbTreeDestroy(looseTree) == ARB_OK);
  EXPECT_TRUE(!file || ArbFileDestroy(file) == ARB_OK);
  ArbForestConsumerReleaseSubtree(document->rootForest);
  ok(ArbForestProducerReleaseSubtree(document->rootForest));
  EXPECT_EQ("root", host.shape(root).substr(0, 4));
  host.destroy();
}

// clang-format off
// A row that does no more than call the function; `c` is the content.
#define CALL(expected, function, first, ...)                                                        \
  {#function, expected,                                                                             \
   [](Content& c) -> std::uint32_t { return Arb##function(first __VA_OPT__(, ) __VA_ARGS__); }, 0,  \
   []([[maybe_unused]] Content& c) -> std::uint32_t {                                               \
     return Arb##function(decltype(first){} __VA_OPT__(, ) __VA_ARGS__);                            \
   }}
// One whose last argument receives what is made.
#define KEEP(made, function, first, ...)                                                                 \
  {#function, 0,                                                                                         \
   [](Content& c) { return c.keep(Arb##function(first, __VA_ARGS__, &c.made), c.made); }, 0,             \
   [](Content& c) -> std::uint32_t { return Arb##function(decltype(first){}, __VA_ARGS__, &c.made); }}
// clang-format on

const std::vector<FunctionCall>& everyFunction() {
  using C = Content;
  constexpr std::uint32_t kNotReady = ARB_ERR_NOTREADY;
  static const ArbTraverserCallbacks silent{};
  static const std::vector<FunctionCall> calls = {
      {"DocumentCreate", 0,
       [](C& c) {
         const ArbStatus status = ArbDocumentCreate(0, &c.host.context, nullptr, 0, 0, &c.madeDocument);
         return status == ARB_OK ? ArbDocumentDestroy(c.madeDocument) : status;
       }},
      KEEP(madeForest, DocumentCreateForest, c.document, nullptr),
      CALL(0, DocumentGetInterface, c.document, 0, &c.slot),
      CALL(0, DocumentSetInterface, c.document, 2, reinterpret_cast<ArbInterfaceFunction>(noHook)),
      CALL(0, DocumentSetMemoryLimit, c.document, 1),
      CALL(kNotReady, DocumentReadAhead, c.document),
      CALL(0, DocumentQueryBreak, c.document, &c.number),
      CALL(0, DocumentForceBreak, c.document),
      CALL(0, DocumentSetChunkBreakSize, c.document, 1),
      CALL(0, DocumentRegisterCallback, c.document, noEvent, nullptr),
      CALL(0, DocumentUnregisterCallback, c.document, noEvent),
      {"DocumentDoCallback", 0, [](C& c) { return ArbDocumentDoCallback(c.document, kHostEvent, c.a), ARB_OK; }},
      KEEP(madeTree, DocumentCreateTree, c.document, nullptr),
      KEEP(madeNode, TreeCreateNode, c.tree, elementId(9), c.floating),
      CALL(0, TreeDestroy, std::exchange(c.looseTree, nullptr)),
      CALL(0, TreeGetNodeDestroyer, c.tree, kTestNamespace, nullptr),
      CALL(0, TreeQueryRootNode, c.tree, &c.node),
      CALL(0, TreeWaitRootNode, c.tree, &c.node),
      CALL(0, NodeDestroy, std::exchange(c.loose, nullptr)),
      CALL(0, NodeAppendChild, c.open, c.loose),
      CALL(ARB_ERR_MODE, NodeInsertSiblingBefore, c.open, c.loose),
      {"NodeInsertSiblingBefore", 0, [](C& c) { return ArbNodeInsertSiblingBefore(c.trigger, c.loose); }, 1},
      CALL(ARB_ERR_MODE, NodeRemoveFromTree, c.a),
      {"NodeRemoveFromTree", 0, [](C& c) { return ArbNodeRemoveFromTree(c.a) || ArbNodeAppendChild(c.open, c.a); }, 1},
      CALL(0, NodeTransferChildren, c.loose, c.open),
      CALL(0, NodeAttributesDone, c.open),
      CALL(0, NodeAttributesDone, c.trigger),
      CALL(0, NodeAllChildrenAttached, c.open),
      CALL(0, NodeProducerDone, c.open),
      CALL(0, NodeProducerDone, c.trigger),
      CALL(0, NodeProducerDoneSubtree, c.loose),
      CALL(0, NodeProducerRelease, c.b),
      CALL(0, NodeProducerRelease, c.trigger),
      CALL(0, NodeProducerReleaseSubtree, c.a),
      CALL(0, NodeConsumerRelease, c.b),
      CALL(0, NodeConsumerReleaseSubtree, c.a),
      {"NodeConsumerReleaseSubtree", 0,
       [](C& c) { return ArbNodeProducerReleaseSubtree(c.a) || ArbNodeConsumerReleaseSubtree(c.a); }},
      CALL(kNotReady, NodeConsumerReleaseSubtree, c.open),
      CALL(0, NodeWaitProducerDone, c.a),
      CALL(kNotReady, NodeWaitProducerDone, c.open),
      CALL(0, NodeSetMetadata, c.a, 1, "value", 5),
      CALL(ARB_ERR_NOTFOUND, NodeGetMetadata, c.a, 2, nullptr, nullptr),
      CALL(0, NodeQueryChildCount, c.a, &c.number),
      CALL(0, NodeWaitChildCount, c.a, &c.number),
      CALL(kNotReady, NodeWaitChildCount, c.open, &c.number),
      CALL(0, NodeQueryFirstChild, c.root, &c.node),
      CALL(0, NodeWaitFirstChild, c.root, &c.node),
      CALL(kNotReady, NodeWaitFirstChild, c.open, &c.node),
      CALL(0, NodeQueryLastChild, c.a, &c.node),
      CALL(0, NodeWaitLastChild, c.a, &c.node),
      CALL(kNotReady, NodeWaitLastChild, c.root, &c.node),
      CALL(0, NodeQueryNextSibling, c.a, &c.node),
      CALL(0, NodeWaitNextSibling, c.a, &c.node),
      CALL(kNotReady, NodeWaitNextSibling, c.trigger, &c.node),
      CALL(0, NodeWaitPrevSibling, c.open, &c.node),
      CALL(0, NodeWaitParent, c.b, &c.node),
      CALL(0, NodeWaitAllChildrenAttached, c.a),
      CALL(kNotReady, NodeWaitAllChildrenAttached, c.open),
      CALL(0, NodeWaitAttributesDone, c.a),
      CALL(kNotReady, NodeWaitAttributesDone, c.open),
      CALL(0, NodeGetFirstChildByElementId, c.root, kTrigger, &c.node),
      CALL(0, NodeGetNextSiblingByElementId, c.a, kTrigger, &c.node),
      CALL(0, NodeGetAncestorByElementId, c.b, ARB_ELEM_ROOT, &c.node),
      CALL(kNotReady, NodeQueryFirstChildByElementId, c.root, 99, &c.node),
      CALL(0, NodeWaitFirstChildByElementId, c.root, kTrigger, &c.node),
      CALL(kNotReady, NodeWaitFirstChildByElementId, c.root, 99, &c.node),
      CALL(kNotReady, NodeWaitNextSiblingByElementId, c.a, 99, &c.node),
      CALL(0, NodeWaitAncestorByElementId, c.b, ARB_ELEM_ROOT, &c.node),
      CALL(0, NodeRefWaitNode, c.a->cell, c.document, &c.node),
      CALL(kNotReady, NodeRefWaitNode, c.floating, c.document, &c.node),
      CALL(0, TreeCreateFloatingNodeReference, c.tree, &c.cell),
      CALL(0, TreeCreateNamedNodeReference, c.tree, c.name, &c.cell),
      CALL(kNotReady, NodeRefQueryNode, c.floating, &c.node),
      CALL(0, NodeRefQueryIdString, c.a->cell, &c.string),
      CALL(kNotReady, NodeRefWaitIdString, c.floating, c.document, &c.string),
      CALL(0, NodeRefWaitIdString, c.open->cell, c.document, &c.string),
      CALL(0, NodeCreateID, c.open),
      CALL(0, NodeSetIDString, c.open, c.name),
      CALL(0, TreeSetProducerNodeHook, c.tree, ARB_HOOK_ATTRIBUTES_DONE, kTrigger, noHook, nullptr),
      CALL(0, TreeCallProducerNodeHook, c.tree, ARB_HOOK_NODE, elementId(1), c.a, nullptr),
      {"TreeSaveProducerNodeHooks", 0,
       [](C& c) {
         const ArbStatus status = ArbTreeSaveProducerNodeHooks(c.tree, &c.madeHooks);
         return status == ARB_OK ? ArbTreeRestoreProducerNodeHooks(c.finished, c.madeHooks) : status;
       }},
      {"TreeRestoreProducerNodeHooks", 0,
       [](C& c) { return ArbTreeRestoreProducerNodeHooks(c.tree, std::exchange(c.saved, nullptr)); }},
      CALL(0, TreeClearProducerNodeHooks, c.tree),
      CALL(0, TreePushCursor, c.tree, c.a),
      {"TreePopCursor", 0, [](C& c) { return ArbTreePushCursor(c.tree, c.a) || ArbTreePopCursor(c.tree, &c.node); }},
      CALL(1, DocumentOrderTraverser, c.root, &silent, nullptr),
      CALL(0, TreeAddNodeFactory, c.tree, kTestNamespace),
      CALL(0, TreeGetNodeFactory, c.tree, kTestNamespace, nullptr),
      CALL(0, TreeSetDefaultNamespace, c.tree, kTestNamespace),
      CALL(0, AbstractTextNodeGetValue, c.text, nullptr, &c.number),
      CALL(0, AbstractTextNodeSetValue, c.text, u"text", 4),
      CALL(0, EncodedBytesNodeGetValue, c.bytes, nullptr, nullptr, &c.number, nullptr),
      CALL(0, EncodedBytesNodeSetValue, c.bytes, "abc", 3, 0, 1),
      CALL(0, EncodedBytesNodeSetValueEx, c.bytes, "abc", 3, 0, 1, 0x22),
      {"DecodeBase64", 3, [](C& c) { return DecodeBase64(u"YWJj", 4, &c.number, sizeof c.number); }},
      KEEP(madeNode, TreeCreateExternalReferenceNode, c.tree, nullptr, u"e"),
      CALL(0, ExternalReferenceNodeGetEntityName, c.reference, nullptr),
      CALL(0, NodeSetSeparateStream, c.open),
      CALL(0, NodeSetSkipIfEmpty, c.open),
      CALL(1, NodeAttributesAreEqual, c.text, c.text),
      CALL(0, NodeIsEqual, c.root, c.a),
      CALL(1 ^ elementId(1) ^ elementId(2), NodeHashCode, c.a),
      KEEP(madeNode, NodeClone, c.text, nullptr),
      KEEP(madeNode, NodeCloneSubtree, c.a, nullptr),
      CALL(0, DocumentCreateString, c.document, u"another", &c.string),
      {"StringCompare", 0, [](C& c) { return static_cast<std::uint32_t>(ArbStringCompare(c.name, c.name)); }},
      CALL(0x0061006E ^ 0x0065006D, StringGetHashCode, c.name),
      CALL(0, ForestAppendChild, c.nested, asChild(c.looseForest)),
      CALL(0, ForestAllChildrenAttached, c.nested),
      CALL(0, ForestSetArchiveType, c.nested, 2),
      CALL(0, ForestProducerReleaseSubtree, c.nested),
      CALL(0, ForestConsumerReleaseSubtree, c.nested),
      CALL(kNotReady, ForestQueryChildCount, c.nested, &c.number),
      CALL(kNotReady, ForestWaitChildCount, c.nested, &c.number),
      CALL(kNotReady, ForestQueryFirstChild, c.nested, &c.child),
      CALL(kNotReady, ForestWaitFirstChild, c.nested, &c.child),
      CALL(0, ForestWaitFirstChild, c.document->rootForest, &c.child),
      CALL(kNotReady, ForestQueryLastChild, c.nested, &c.child),
      CALL(kNotReady, ForestWaitLastChild, c.document->rootForest, &c.child),
      CALL(kNotReady, ForestWaitAllChildrenAttached, c.nested),
      CALL(0, ForestChildProducerDone, asChild(c.finished)),
      CALL(0, ForestChildProducerRelease, asChild(c.finished)),
      CALL(0, ForestChildConsumerRelease, asChild(c.finished)),
      CALL(0, ForestChildQueryNextSibling, asChild(c.tree), &c.child),
      CALL(kNotReady, ForestChildWaitNextSibling, asChild(c.nested), &c.child),
      CALL(0, ForestChildWaitPrevSibling, asChild(c.nested), &c.child),
      CALL(0, ForestChildSetMetadata, asChild(c.tree), 1, "value", 5),
      CALL(ARB_ERR_NOTFOUND, ForestChildGetMetadata, asChild(c.tree), 2, nullptr, nullptr),
      CALL(0, ForestChildGetDocumentPath, asChild(c.tree), nullptr, &(c.number = 999)),
      CALL(0, ForestDestroy, std::exchange(c.looseForest, nullptr)),
      CALL(0, FileDestroy, std::exchange(c.file, nullptr)),
      KEEP(madeFile, DocumentCreateFile, c.document, nullptr, 1),
      KEEP(madeFile, DocumentTransferFile, c.document, c.file),
      CALL(0, FileWrite, c.file, 1),
  };
  return calls;
}

}  // namespace arbtree::test
