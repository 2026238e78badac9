// The producer of an XML document: runs expat over an input and builds the tree, one chunk at a time.
//
// Expat is stopped inside a handler as soon as the library says that the chunk is full, and resumed by the next run; a
// few handlers may still be called after the stop, and simply add to the chunk.
//
// Whatever ends the parse, be it the end of the input, malformed content, a limit or a full memory, the tree built so
// far is completed and released, the forest is closed and production ends in good order; failure() tells afterwards why
// it ended early. So the consumer gets everything that came before.
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
#include "input_file.h"
#include "parser_feed.h"
#include "text_collector.h"

namespace arbtree::tool {

// References to entities that are left out because their text is not in the document itself.
struct OmittedEntities {
  Place firstPlace;
  std::string firstName;
  std::uint64_t count = 0;
};

class XmlProducer {
 public:
  XmlProducer(InputFile& input, std::uint64_t maxDepth);
  ~XmlProducer();
  XmlProducer(const XmlProducer&) = delete;
  XmlProducer& operator=(const XmlProducer&) = delete;

  // Produces one chunk into a document, whose forest gets the tree in the first run; the result is a producer entry's.
  std::uint32_t run(ArbDocument* document, ArbForest* forest);

  const std::optional<Failure>& failure() const { return failure_; }
  const OmittedEntities& omitted() const { return omitted_; }
  std::uint64_t runs() const { return runs_; }
  std::uint64_t nodesMade() const { return nodesMade_; }
  // Of elements alone.
  std::uint64_t attributesMade() const { return attributesMade_; }

 private:
  struct Handlers;  // what expat calls

  bool begin(ArbForest* forest);
  void setHandlers();
  XML_Status parseNext();
  std::uint32_t finish(ArbForest* forest);

  void startElement(const char* name, const char** attributes);
  void endElement();
  void text(const char* text, std::size_t length);
  void leaf(ElementKind& kind, const char* first, const char* second);
  void entityLeftOut(const char* name);

  void flushText();

  void collectAttributes(ElementKind& kind, const char** attributes);
  ElementNode* makeElement(ElementKind& kind);
  bool takeAttributes(ElementNode& element);
  bool prepareNamespaces(const ElementKind& kind);
  bool link(ArbNode* node);
  void offerBreak();

  Place here() const;
  void fail(std::string reason);
  bool check(ArbStatus status) { return status == ARB_OK || refused(status); }
  bool refused(ArbStatus status);
  std::string reasonOfExpat() const;

  InputFile& input_;
  const std::uint64_t maxDepth_;
  const XML_Parser parser_;
  ParserFeed feed_;
  std::string encoding_;  // as the input declares it, when expat does not know it

  ArbDocument* document_ = nullptr;
  ArbTree* tree_ = nullptr;
  ArbNode* current_ = nullptr;  // the open element, or the root node
  std::uint32_t namespacesKnown_ = 0;
  std::uint64_t depth_ = 0;
  bool inDocumentType_ = false;
  bool suspended_ = false;          // expat waits to be resumed
  bool stopping_ = false;           // a stop has been asked for in this run
  std::size_t attributeBytes_ = 0;  // in this run
  TextCollector text_;
  std::vector<NewAttribute> newAttributes_;  // of the node being made

  std::optional<Failure> failure_;
  OmittedEntities omitted_;
  std::uint64_t runs_ = 0;
  std::uint64_t nodesMade_ = 0;
  std::uint64_t attributesMade_ = 0;
};

}  // namespace arbtree::tool

#endif
