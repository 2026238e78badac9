// The layout of every record that crosses the interface, frozen. On 32-bit targets the byte positions are part of the
// interface; on 64-bit targets the order stays and pointers widen, and hosts built there depend on that layout too.
#include <cstddef>

#include "document/document.h"
#include "tree/cell_pool.h"
#include "tree/metadata.h"
#include "tree/tree.h"

namespace arbtree {
namespace {

constexpr bool kIs32Bit = sizeof(void*) == 4;

// A size or position on 32-bit targets and on 64-bit targets.
constexpr std::size_t at(std::size_t on32Bit, std::size_t on64Bit) { return kIs32Bit ? on32Bit : on64Bit; }

static_assert(sizeof(ArbNodeRef) == at(8, 16));
static_assert(offsetof(ArbNodeRef, value) == at(4, 8));

static_assert(offsetof(ArbNode, tree) == 0);
static_assert(offsetof(ArbNode, number) == at(4, 8));
static_assert(offsetof(ArbNode, idString) == at(8, 16));
static_assert(offsetof(ArbNode, nodeType) == at(12, 24));
static_assert(offsetof(ArbNode, parentCell) == at(16, 32));
static_assert(offsetof(ArbNode, prevSiblingCell) == at(20, 40));
static_assert(offsetof(ArbNode, nextSiblingCell) == at(24, 48));
static_assert(offsetof(ArbNode, childCount) == at(28, 56));
static_assert(offsetof(ArbNode, freedChildCount) == at(32, 60));
static_assert(offsetof(ArbNode, firstChildCell) == at(36, 64));
static_assert(offsetof(ArbNode, lastChildCell) == at(40, 72));
static_assert(offsetof(ArbNode, size) == at(44, 80));
static_assert(offsetof(ArbNode, flags) == at(46, 82));
static_assert(offsetof(ArbNode, flags2) == at(47, 83));
static_assert(offsetof(ArbNode, cell) == at(48, 88));
static_assert(offsetof(ArbNode, metadata) == at(52, 96));
static_assert(sizeof(ArbNode) == at(56, 104));

static_assert(offsetof(ArbTextNode, text) == at(56, 104));
static_assert(offsetof(ArbTextNode, textLength) == at(60, 112));
static_assert(sizeof(ArbTextNode) == at(64, 120));

static_assert(offsetof(ArbEncodedBytesNode, text) == offsetof(ArbTextNode, text));
static_assert(offsetof(ArbEncodedBytesNode, textLength) == offsetof(ArbTextNode, textLength));
static_assert(offsetof(ArbEncodedBytesNode, info) == at(64, 116));
static_assert(offsetof(ArbEncodedBytesNode, encoding) == at(68, 120));
static_assert(offsetof(ArbEncodedBytesNode, encodingFlags) == at(72, 124));
static_assert(sizeof(ArbEncodedBytesNode) == at(76, 128));

static_assert(offsetof(ArbExternalReferenceNode, target) == at(56, 104));
static_assert(offsetof(ArbExternalReferenceNode, entityName) == at(60, 112));
static_assert(sizeof(ArbExternalReferenceNode) == at(188, 240));

static_assert(offsetof(ArbNodeType, elementId) == 0);
static_assert(offsetof(ArbNodeType, typeFlags) == 4);
static_assert(offsetof(ArbNodeType, attributeCount) == 16);
static_assert(offsetof(ArbNodeType, attributes) == at(20, 24));
static_assert(offsetof(ArbNodeType, getAttribute) == at(24, 32));
static_assert(offsetof(ArbNodeType, setAttribute) == at(28, 40));
static_assert(offsetof(ArbNodeType, hasAttribute) == at(32, 48));
static_assert(offsetof(ArbNodeType, hash) == at(36, 56));
static_assert(offsetof(ArbNodeType, isEqual) == at(40, 64));
static_assert(offsetof(ArbNodeType, write) == at(44, 72));
static_assert(offsetof(ArbNodeType, read) == at(48, 80));
static_assert(sizeof(ArbNodeType) == at(52, 88));
static_assert(offsetof(ArbAttributeDef, attributeId) == 0);
static_assert(offsetof(ArbAttributeDef, attributeInfo) == 4);
static_assert(sizeof(ArbAttributeDef) == 8);

static_assert(offsetof(ArbHostContext, startEntry) == at(236, 240));
static_assert(offsetof(ArbHostContext, continueEntry) == at(240, 248));
static_assert(offsetof(ArbHostContext, producerArg3) == at(280, 292));
static_assert(offsetof(ArbHostContext, producerArg1) == at(312, 324));
static_assert(offsetof(ArbHostContext, producerArg2) == at(316, 328));
static_assert(sizeof(ArbHostContext) == at(320, 336));

static_assert(offsetof(ArbForestChild, kind) == 0);
static_assert(offsetof(ArbForestChild, id) == 4);
static_assert(offsetof(ArbForestChild, name) == 8);
static_assert(offsetof(ArbForestChild, formatId) == 528);
static_assert(offsetof(ArbForestChild, parent) == at(532, 536));
static_assert(offsetof(ArbForestChild, document) == at(536, 544));
static_assert(offsetof(ArbForestChild, prevSibling) == at(540, 552));
static_assert(offsetof(ArbForestChild, nextSibling) == at(544, 560));
static_assert(offsetof(ArbForestChild, flags) == at(548, 568));
static_assert(offsetof(ArbForestChild, metadata) == at(552, 576));
static_assert(sizeof(ArbForestChild) == at(556, 584));

static_assert(offsetof(ArbForest, childCount) == at(556, 584));
static_assert(offsetof(ArbForest, firstChild) == at(560, 592));
static_assert(offsetof(ArbForest, lastChild) == at(564, 600));
static_assert(offsetof(ArbForest, archiveType) == at(568, 608));
static_assert(offsetof(ArbFile, hostContext) == at(556, 584));
static_assert(offsetof(ArbTree, rootCell) == at(556, 584));

static_assert(offsetof(ArbString, length) == 0);
static_assert(offsetof(ArbString, boundRef) == at(4, 8));
static_assert(offsetof(ArbString, greater) == at(8, 16));
static_assert(offsetof(ArbString, less) == at(12, 20));
static_assert(offsetof(ArbString, text) == at(16, 24));

static_assert(offsetof(ArbTraverserCallbacks, startElement) == 0);
static_assert(offsetof(ArbTraverserCallbacks, enterChildren) == sizeof(void*));
static_assert(offsetof(ArbTraverserCallbacks, endElement) == 2 * sizeof(void*));
static_assert(offsetof(ArbTraverserCallbacks, startAttributes) == 3 * sizeof(void*));
static_assert(offsetof(ArbTraverserCallbacks, attribute) == 4 * sizeof(void*));
static_assert(offsetof(ArbTraverserCallbacks, endAttributes) == 5 * sizeof(void*));
static_assert(offsetof(ArbTraverserCallbacks, textNode) == 6 * sizeof(void*));
static_assert(offsetof(ArbTraverserCallbacks, text4Node) == 7 * sizeof(void*));
static_assert(offsetof(ArbTraverserCallbacks, text3Node) == 8 * sizeof(void*));
static_assert(sizeof(ArbTraverserCallbacks) == 9 * sizeof(void*));

// What passes between the library and the closed ones.
static_assert(offsetof(SrcFormatInfo, extension) == 8);
static_assert(offsetof(BasePathName, path) == at(4, 8) && sizeof(BasePathName) == at(8, 16));
static_assert(offsetof(BaseStream, functions) == 0);
static_assert(offsetof(BaseStreamFunctions, read) == at(4, 8) && offsetof(BaseStreamFunctions, write) == at(8, 16));

// Hosts read the head of a document through a record of its own.
static_assert(offsetof(ArbDocumentHead, source) == 0 && offsetof(ArbDocument, source) == 0);
static_assert(offsetof(ArbDocumentHead, hostContext) == at(4, 8));
static_assert(offsetof(ArbDocument, hostContext) == at(4, 8));
static_assert(offsetof(ArbDocumentHead, flags) == at(8, 16) && offsetof(ArbDocument, flags) == at(8, 16));
static_assert(offsetof(ArbDocumentHead, producerError) == at(12, 20));
static_assert(offsetof(ArbDocument, producerError) == at(12, 20));
static_assert(offsetof(ArbDocumentHead, childCounter) == at(16, 24));
static_assert(offsetof(ArbDocument, childCounter) == at(16, 24));
static_assert(offsetof(ArbDocumentHead, rootForest) == at(20, 32) && offsetof(ArbDocument, rootForest) == at(20, 32));

// Opaque to hosts, but the positions of the fields that hosts reach are fixed all the same.
static_assert(offsetof(ArbDocument, elemDefs) == at(24, 40));
static_assert(offsetof(ArbDocument, inputPath) == at(28, 48));
static_assert(offsetof(ArbDocument, outputPath) == at(32, 56));
static_assert(offsetof(ArbDocument, statusContext) == at(36, 64));
static_assert(offsetof(ArbDocument, nodeCounter) == at(40, 68));
static_assert(offsetof(ArbDocument, chunkBreakSize) == at(44, 72));
static_assert(offsetof(ArbDocument, chunkBytes) == at(48, 76));
static_assert(offsetof(ArbDocument, chunkNodes) == at(52, 80));
static_assert(offsetof(ArbDocument, chunkChildren) == at(56, 84));
static_assert(offsetof(ArbDocument, runCount) == at(60, 88));
static_assert(offsetof(ArbDocument, breakRequested) == at(64, 92));
static_assert(offsetof(ArbDocument, strings) == at(68, 96));
static_assert(offsetof(ArbDocument, interface) == at(80, 112));
static_assert(offsetof(ArbDocument, callbacks) == at(92, 136));
static_assert(offsetof(ArbDocument, callbackCount) == at(96, 144));

static_assert(offsetof(FactoryEntry, elementNamespace) == 0);
static_assert(offsetof(FactoryEntry, create) == at(4, 8));
static_assert(offsetof(FactoryEntry, destroy) == at(8, 16));
static_assert(sizeof(FactoryEntry) == at(12, 24));
static_assert(offsetof(ArbTree, factories) == at(560, 592));
static_assert(offsetof(ArbTree, factoryCount) == at(944, 1360));
static_assert(offsetof(ArbTree, lastFactory) == at(948, 1368));
static_assert(offsetof(ArbTree, builtinFactory) == at(960, 1392));
static_assert(offsetof(ArbTree, defaultNamespace) == at(972, 1416));
static_assert(offsetof(ArbTree, cellBlocks) == at(976, 1424));
static_assert(offsetof(ArbTree, cellBlockCapacity) == at(980, 1432));
static_assert(offsetof(ArbTree, cellBlockCount) == at(984, 1436));
static_assert(offsetof(ArbTreeHead, child) == 0 && offsetof(ArbTree, child) == 0);
static_assert(offsetof(ArbTreeHead, rootCell) == offsetof(ArbTree, rootCell));
static_assert(offsetof(ArbTree, pendingRefs) == at(988, 1440));
static_assert(offsetof(ArbTree, pendingRefCapacity) == at(992, 1448));
static_assert(offsetof(ArbTree, pendingRefCount) == at(996, 1452));
static_assert(offsetof(ArbTree, externalRefCells) == at(1000, 1456));
static_assert(offsetof(ArbTree, externalRefCapacity) == at(1004, 1464));
static_assert(offsetof(ArbTree, externalRefCount) == at(1008, 1468));
static_assert(offsetof(ArbTree, separateStreamCells) == at(1012, 1472));
static_assert(offsetof(ArbTree, separateStreamCapacity) == at(1016, 1480));
static_assert(offsetof(ArbTree, separateStreamCount) == at(1020, 1484));
static_assert(offsetof(ArbTree, hooks) == at(1024, 1488));
static_assert(offsetof(ArbTree, hookCapacity) == at(1028, 1496));
static_assert(offsetof(ArbTree, hookCount) == at(1032, 1500));
static_assert(offsetof(ArbTree, cursorStack) == at(1036, 1504));
static_assert(offsetof(ArbTree, cursorDepth) == at(1548, 2528));

static_assert(offsetof(CellBlock, occupancy) == kCellsPerBlock * sizeof(ArbNodeRef));
static_assert(offsetof(CellBlock, usedCount) == offsetof(CellBlock, occupancy) + 512);
static_assert(offsetof(CellBlock, wordHint) == offsetof(CellBlock, usedCount) + 4);
static_assert(offsetof(ArbMetadataEntry, key) == 0);
static_assert(offsetof(ArbMetadataEntry, size) == 4);
static_assert(offsetof(ArbMetadataEntry, value) == 8);
static_assert(offsetof(ArbMetadataEntry, next) == at(12, 16));
static_assert(offsetof(CallbackSlot, function) == 0);
static_assert(offsetof(CallbackSlot, context) == at(4, 8));
static_assert(sizeof(CallbackSlot) == at(8, 16));
static_assert(offsetof(StringTable, entries) == 0);
static_assert(offsetof(StringTable, capacity) == at(4, 8));
static_assert(offsetof(StringTable, count) == at(8, 12));
static_assert(offsetof(ProducerNodeHook, event) == 0);
static_assert(offsetof(ProducerNodeHook, elementId) == 4);
static_assert(offsetof(ProducerNodeHook, function) == 8);
static_assert(offsetof(ProducerNodeHook, context) == at(12, 16));
static_assert(sizeof(ProducerNodeHook) == at(16, 24));

}  // namespace
}  // namespace arbtree
