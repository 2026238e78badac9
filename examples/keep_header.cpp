// A table of a hundred thousand records, read in bounded memory: the consumer keeps the header, which says what the
// columns mean, and releases each record once it has read it.
//
// The table's nodes are of three kinds of this host's own, made by its own factory:
//
//     root
//       header      one text for each column's name
//       record      one text for each column's value
//       record ...
#include <arbtree/arbtree.h>
#include <arbtree/elemdefs.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kRecords = 100000;
constexpr uint32_t kNamespace = 5;
constexpr uint32_t kHeader = kNamespace << 14 | 1;
constexpr uint32_t kRecord = kNamespace << 14 | 2;

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "keep_header: %s failed\n", what);
  std::exit(1);
}
void require(ArbStatus status, const char* what) {
  if (status != ARB_OK) fail(what);
}

// --- The kinds: they have no fields of their own, so their records are plain heads. ---

ArbNodeType typeOf(uint32_t elementId) {
  ArbNodeType type{};
  type.elementId = elementId;
  return type;
}
const ArbNodeType headerType = typeOf(kHeader);
const ArbNodeType recordType = typeOf(kRecord);

uint32_t ARB_CALL makeNode(ArbTree*, uint32_t elementId, ArbNode** node) {
  if (elementId != kHeader && elementId != kRecord) return ARB_OK;  // not made: ArbTreeCreateNode says so
  auto* const made = static_cast<ArbNode*>(std::calloc(1, sizeof(ArbNode)));
  if (!made) return ARB_ERR_NOMEMORY;
  made->size = sizeof(ArbNode);
  made->nodeType = elementId == kHeader ? &headerType : &recordType;
  *node = made;
  return ARB_OK;
}
uint32_t ARB_CALL destroyNode(ArbNode* node) {
  std::free(node);
  return ARB_OK;
}

// --- The producer: the header in its first run, then records until the chunk is full. ---

ArbDocument* document = nullptr;
ArbNode* root = nullptr;
uint32_t recordsMade = 0;

void appendRow(uint32_t elementId, const std::vector<std::u16string>& values) {
  ArbNode* row = nullptr;
  require(ArbTreeCreateNode(root->tree, elementId, nullptr, &row), "ArbTreeCreateNode");
  require(ArbNodeAppendChild(root, row), "ArbNodeAppendChild");
  for (const std::u16string& value : values) {
    ArbNode* text = nullptr;
    require(ArbTreeCreateNode(root->tree, ARB_ELEM_TEXT, nullptr, &text), "ArbTreeCreateNode");
    require(ArbAbstractTextNodeSetValue(text, value.c_str(), static_cast<uint32_t>(value.size())), "the value");
    require(ArbNodeAppendChild(row, text), "ArbNodeAppendChild");
  }
  ArbNodeProducerReleaseSubtree(row);  // completes the row as well
}

std::u16string digits(uint32_t number) {
  const std::string text = std::to_string(number);
  return {text.begin(), text.end()};
}

uint32_t ARB_CALL continueTable(uint32_t, uint32_t, uint32_t) {
  uint32_t full = 0;
  while (!full && recordsMade < kRecords) {
    appendRow(kRecord, {digits(recordsMade), digits(recordsMade % 10)});
    ++recordsMade;
    ArbDocumentQueryBreak(document, &full);
  }
  if (full) return ARB_OK;  // go on in the next run
  ArbNodeAllChildrenAttached(root);
  return ARB_STATUS_END;
}

uint32_t ARB_CALL startTable(uint32_t argument1, uint32_t argument2, uint32_t argument3) {
  appendRow(kHeader, {u"name", u"price"});
  return continueTable(argument1, argument2, argument3);
}

// --- How many nodes are alive, told by the events. ---

struct Alive {
  uint32_t now = 0;
  uint32_t most = 0;
};

uint32_t ARB_CALL countNode(ArbDocument*, uint32_t event, void* node, void* context) {
  Alive& alive = *static_cast<Alive*>(context);
  if (event == ARB_EVENT_NODE_CREATED && node) alive.most = std::max(alive.most, ++alive.now);
  if (event == ARB_EVENT_NODE_FREED) --alive.now;
  return 0;
}

// --- The consumer. ---

ArbNode* childAt(ArbNode* row, uint32_t column) {
  ArbNode* child = nullptr;
  require(ArbNodeWaitFirstChild(row, &child), "ArbNodeWaitFirstChild");
  for (; child && column > 0; --column) {
    ArbNode* next = nullptr;
    require(ArbNodeWaitNextSibling(child, &next), "ArbNodeWaitNextSibling");
    child = next;
  }
  if (!child) fail("finding a column");
  return child;
}

std::u16string textAt(ArbNode* row, uint32_t column) {
  const char16_t* text = nullptr;
  uint32_t length = 0;
  require(ArbAbstractTextNodeGetValue(childAt(row, column), &text, &length), "reading a text");
  return {text, length};
}

uint32_t columnNamed(ArbNode* header, const std::u16string& name) {
  uint32_t column = 0;
  while (textAt(header, column) != name) ++column;
  return column;
}

}  // namespace

int main() {
  require(ElemDefsRegisterNamespace(kNamespace, makeNode, destroyNode, 2), "ElemDefsRegisterNamespace");
  ArbHostContext host{};
  host.startEntry = startTable;
  host.continueEntry = continueTable;
  Alive alive;
  ArbTree* tree = nullptr;
  require(ArbDocumentCreate(0, &host, nullptr, 0, 0, &document), "ArbDocumentCreate");
  require(ArbDocumentRegisterCallback(document, countNode, &alive), "ArbDocumentRegisterCallback");
  ArbDocumentSetChunkBreakSize(document, 0);  // 4096 nodes a run, whatever their size
  require(ArbDocumentCreateTree(document, nullptr, &tree), "ArbDocumentCreateTree");
  require(ArbTreeAddNodeFactory(tree, kNamespace), "ArbTreeAddNodeFactory");
  require(ArbForestAppendChild(ArbDocumentRootForest(document), reinterpret_cast<ArbForestChild*>(tree)), "appending");
  require(ArbTreeWaitRootNode(tree, &root), "ArbTreeWaitRootNode");

  ArbNode* header = nullptr;
  require(ArbNodeWaitFirstChildByElementId(root, kHeader, &header), "finding the header");
  if (!header) fail("finding the header");
  uint32_t recordsRead = 0;
  uint64_t sum = 0;
  ArbNode* record = nullptr;
  require(ArbNodeWaitNextSiblingByElementId(header, kRecord, &record), "finding a record");
  while (record) {
    // The header has not been released, so it is there as long as anybody asks it.
    for (const char16_t digit : textAt(record, columnNamed(header, u"price"))) sum += uint64_t{digit} - u'0';
    ++recordsRead;
    ArbNode* next = nullptr;
    require(ArbNodeWaitNextSibling(record, &next), "ArbNodeWaitNextSibling");  // first: a last child would stay
    require(ArbNodeConsumerReleaseSubtree(record), "ArbNodeConsumerReleaseSubtree");
    record = next;
  }
  std::printf("%u records read, prices sum up to %llu\n", recordsRead, static_cast<unsigned long long>(sum));
  std::printf("at most %u nodes alive, %u at the end\n", alive.most, alive.now);
  require(ArbNodeConsumerReleaseSubtree(header), "ArbNodeConsumerReleaseSubtree");
  std::printf("%u after the header's release\n", alive.now);
  return ArbDocumentDestroy(document) == ARB_OK ? 0 : 1;
}
