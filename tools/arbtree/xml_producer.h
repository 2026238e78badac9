// The producer of one tree: runs expat over an input and builds the tree, one chunk at a time.
//
// Expat is stopped inside a handler as soon as the library says that the chunk is full, and resumed by the next run; a
// few handlers may still be called after the stop, and simply add to the chunk.
//
// Whatever ends the parse, be it the end of the input, malformed content, a limit or a full memory, the tree built so
// far is completed and released in good order; failure() tells afterwards why it ended early. So the consumer gets
// everything that came before.
#ifndef ARBTREE_TOOL_XML_PRODUCER_H
#define ARBTREE_TOOL_XML_PRODUCER_H

#include <expat.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "arbtree/arbtree.h"
#include "element_kinds.h"
#include "element_node.h"
#include "failure.h"
#include "input_limits.h"
#include "parser_feed.h"
#include "text_collector.h"

namespace arbtree::tool {

// References to entities that are left out because their text is not in the document itself.
struct OmittedEntities {
  Place firstPlace;
  std::string firstName;
  std::uint64_t count = 0;
};

// What nodes are to tell beyond their kinds and places.
struct NodeDetails {
  bool values = true;    // texts, and the attributes of elements; comments and instructions have theirs always
  bool offsets = false;  // where elements begin
  // Referred to before its element is there: the first element whose attribute xml:id or id has this value is made on
  // the reference, and so has it as its ID string. Empty for none.
  std::string id;
};

class XmlProducer {
 public:
  // Fills a tree of the document that is empty and in a forest.
  XmlProducer(ByteSource& input, const Limits& limits, const NodeDetails& details, ArbDocument* document,
              ArbTree* tree);
  ~XmlProducer();
  XmlProducer(const XmlProducer&) = delete;
  XmlProducer& operator=(const XmlProducer&) = delete;

  // Goes on until the chunk is full or the tree is finished.
  void run();
  bool isFinished() const { return finished_; }

  const std::optional<Failure>& failure() const { return failure_; }
  // Whether the failure is that a limit was reached.
  bool reachedLimit() const { return reachedLimit_; }
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
  void finish();

  void startElement(const char* name, const char** attributes);
  void endElement();
  void text(const char* text, std::size_t length);
  void leaf(ElementKind& kind, const char* first, const char* second);
  void entityLeftOut(const char* name);

  void flushText();

  void collectAttributes(ElementKind& kind, const char** attributes);
  ElementNode* makeElement(ElementKind& kind, ArbNodeRef* cell = nullptr);
  bool takeAttributes(ElementNode& element);
  bool prepareNamespaces(const ElementKind& kind);
  bool link(ArbNode* node);
  void offerBreak();

  Place here() const;
  void fail(std::string reason);
  bool check(ArbStatus status) { return status == ARB_OK || refused(status); }
  bool refused(ArbStatus status);
  void failInParser();
  std::string reasonOfExpat() const;

  const Limits limits_;
  const NodeDetails details_;
  const XML_Parser parser_;
  ParserFeed feed_;
  std::string encoding_;  // as the input declares it, when expat does not know it

  ArbDocument* const document_;
  ArbTree* const tree_;
  ArbNode* current_ = nullptr;     // the open element, or the root node
  ArbNodeRef* awaited_ = nullptr;  // the reference to the element with the ID, until it is there
  std::uint32_t namespacesKnown_ = 0;
  std::uint64_t depth_ = 0;
  bool inDocumentType_ = false;
  bool finished_ = false;
  bool reachedLimit_ = false;
  bool suspended_ = false;          // expat waits to be resumed
  bool stopping_ = false;           // a stop has been asked for in this run
  std::size_t attributeBytes_ = 0;  // in this run
  TextCollector text_;
  std::vector<NewAttribute> newAttributes_;  // of the node being made

  std::optional<Failure> failure_;
  OmittedEntities omitted_;
  std::uint64_t nodesMade_ = 0;
  std::uint64_t attributesMade_ = 0;
};

}  // namespace arbtree::tool

#endif
