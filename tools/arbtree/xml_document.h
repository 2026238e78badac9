// One XML document on its way through the library: its input, source, document and producer, held together from the
// first chunk to the last release.
#ifndef ARBTREE_TOOL_XML_DOCUMENT_H
#define ARBTREE_TOOL_XML_DOCUMENT_H

#include <cstdint>

#include "arbtree/arbtree.h"
#include "input_file.h"
#include "progress.h"
#include "walk.h"
#include "xml_producer.h"

namespace arbtree::tool {

struct DocumentLimits {
  std::uint64_t maxDepth = 100000;
  // Bytes of nodes and text made before they are consumed. Smaller than the library's own default, so that a chunk
  // stays in a core's own cache between its making and its freeing (measured: a tenth off a whole `stats` run).
  std::uint32_t chunkBytes = 32 * 1024;
};

class XmlDocument {
 public:
  // Throws std::runtime_error or std::bad_alloc when the document cannot be made.
  XmlDocument(InputFile& input, const DocumentLimits& limits, Progress& progress);
  ~XmlDocument();
  XmlDocument(const XmlDocument&) = delete;
  XmlDocument& operator=(const XmlDocument&) = delete;

  // Walks the whole document, running the producer as far as it is needed. The handler has the enter and leave of a
  // walk's visitor. Throws std::runtime_error when the library fails; a failure of the input is told by producer().
  template <typename Handler>
  void walk(Handler& handler) {
    Visitor<Handler> visitor{handler, *this};
    ArbTree* const tree = waitTree();
    if (tree) require(walkTree(tree, visitor), "the walk");
  }

  const XmlProducer& producer() const { return producer_; }
  std::uint64_t mostLiveNodes() const { return mostLiveNodes_; }

  // The producer entry's work.
  std::uint32_t produce();

 private:
  template <typename Handler>
  struct Visitor {
    Handler& handler;
    XmlDocument& document;
    bool enter(const ArbNode& node) { return handler.enter(node); }
    void leave(const ArbNode& node) { handler.leave(node); }
    void released() { ++document.nodesReleased_; }
  };

  void open(const DocumentLimits& limits);
  void close();
  ArbTree* waitTree();
  static void require(ArbStatus status, const char* what);

  InputFile& input_;
  Progress& progress_;
  XmlProducer producer_;
  ArbHostContext host_ = {};
  std::uint32_t source_ = 0;
  ArbDocument* document_ = nullptr;
  std::uint64_t nodesReleased_ = 0;
  std::uint64_t mostLiveNodes_ = 0;
};

}  // namespace arbtree::tool

#endif
