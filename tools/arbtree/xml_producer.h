// Produces the tree of an XML document: runs expat over its bytes, one chunk at a time.
//
// Expat is stopped inside a handler when the library says that the chunk is full, and resumed by the next run; a few
// handlers may still be called after the stop, and simply add to the chunk. The library is asked where a chunk may well
// end: after a start tag, a comment or an instruction, and inside a text too long for one node.
//
// Whatever ends the parse, be it the end of the input, malformed content, a limit or a full memory, the tree built so
// far is completed and released; failure() tells afterwards why it ended early. So the consumer gets everything that
// came before.
#ifndef ARBTREE_TOOL_XML_PRODUCER_H
#define ARBTREE_TOOL_XML_PRODUCER_H

#include <expat.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "arbtree/arbtree.h"
#include "byte_source.h"
#include "content_limits.h"
#include "declared_entities.h"
#include "element_kinds.h"
#include "element_node.h"
#include "failure.h"
#include "parser_feed.h"
#include "text_collector.h"

namespace arbtree::tool {

// Metadata key of the nodes of a watched kind: where the start tag begins in the bytes that expat gets, as 64 bits.
inline constexpr std::uint32_t kNodeOffset = 0x41520011;

// References to entities that are left out because their text is not in the document itself.
struct OmittedEntities {
  Place firstPlace;
  std::string firstName;
  std::uint64_t count = 0;
};

// What nodes are to tell beyond their kinds and places.
struct NodeWishes {
  bool values = true;  // texts, and the attributes of elements
  // The kind whose nodes get the byte offset of their start tag as metadata; null for none.
  const ElementKind* watched = nullptr;
  // Referred to before its element is there: the first element whose attribute xml:id or id has this value is made on
  // the reference, and so has it as its ID string. Empty for none.
  std::string id;
};

class XmlProducer {
 public:
  // The tree is in its forest and has only its root.
  XmlProducer(ByteSource& input, const Limits& limits, ArbTree* tree, const NodeWishes& wishes);
  ~XmlProducer();
  XmlProducer(const XmlProducer&) = delete;
  XmlProducer& operator=(const XmlProducer&) = delete;

  // Produces one chunk. The answer is whether the tree is finished; the producer has then released it.
  bool run();

  ArbTree* tree() const { return tree_; }
  const std::optional<Failure>& failure() const { return failure_; }
  const OmittedEntities& omitted() const { return omitted_; }
  std::uint64_t nodesMade() const { return nodesMade_; }
  // Of elements alone.
  std::uint64_t attributesMade() const { return attributesMade_; }

 private:
  struct Handlers;  // what expat calls

  bool begin();
  bool referToId();
  ArbNodeRef* takeAwaited(const char** attributes);
  void setHandlers();
  XML_Status parseNext();
  bool finish();
  std::uint64_t eventOffset() const;
  void attachOffset(ArbNode* node);

  void startElement(const char* name, const char** attributes);
  void endElement();
  void text(const char* text, std::size_t length);
  void leaf(ElementKind& kind, const char* first, const char* second);
  void entityLeftOut(const std::string& name);

  void flushText();

  void collectAttributes(ElementKind& kind, const char** attributes);
  bool publish(ElementKind& kind);
  bool create(std::uint32_t elementId, ArbNodeRef* cell, ArbNode** node);
  ElementNode* makeElement(ElementKind& kind, ArbNodeRef* cell = nullptr);
  bool takeAttributes(ElementNode& element);
  bool prepareNamespaces(const ElementKind& kind) {
    return namespacesKnown_ >= ElementKinds::namespacesFor(kind) || addNamespaces(kind);
  }
  bool addNamespaces(const ElementKind& kind);
  bool link(ArbNode* node);
  // Has expat stop when the chunk is full.
  void offerBreak() {
    std::uint32_t due = 0;
    ArbDocumentQueryBreak(document_, &due);
    if (due != 0) [[unlikely]]
      stopForBreak();
  }
  void stopForBreak();

  Place here() const;
  void fail(std::string reason, bool isLimit = false);
  bool check(ArbStatus status) {
    if (status != ARB_OK) [[unlikely]]
      return refused(status);
    return true;
  }
  bool refused(ArbStatus status);
  void failByDepth();
  void failByEntity();
  void failByExpat();

  ByteSource& input_;
  const Limits& limits_;
  const NodeWishes& wishes_;
  const XML_Parser parser_;
  ParserFeed feed_;
  std::string encoding_;  // as the input declares it, when expat does not know it

  ArbTree* const tree_;
  ArbDocument* const document_;
  ArbNode* current_ = nullptr;  // the open element, or the root node
  ElementKinds& kinds_;
  ElementKind* lastKind_;          // of the element made last
  ArbNodeRef* awaited_ = nullptr;  // the reference to the element with the ID, until it is there
  std::uint32_t namespacesKnown_ = 0;
  std::uint64_t depth_ = 0;
  bool inDocumentType_ = false;
  bool suspended_ = false;          // expat waits to be resumed
  bool stopping_ = false;           // a stop has been asked for in this run
  std::uint64_t stoppedAt_ = 0;     // the offset of the event of the last stop
  std::size_t attributeBytes_ = 0;  // in this run
  TextCollector text_;
  std::vector<NewAttribute> newAttributes_;  // of the node being made; empty between nodes

  std::optional<Failure> failure_;
  DeclaredEntities entities_;
  OmittedEntities omitted_;
  std::uint64_t nodesMade_ = 0;
  std::uint64_t nodesAtRunStart_ = 0;
  std::uint64_t attributesMade_ = 0;
};

}  // namespace arbtree::tool

#endif
