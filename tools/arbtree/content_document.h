// One input on its way through the library: its source, document and producer, held together from the first chunk to
// the last release.
#ifndef ARBTREE_TOOL_CONTENT_DOCUMENT_H
#define ARBTREE_TOOL_CONTENT_DOCUMENT_H

#include <cstdint>

#include "arbtree/arbtree.h"
#include "content_producer.h"
#include "input_file.h"
#include "node_links.h"
#include "progress.h"
#include "walk.h"

namespace arbtree::tool {

struct CommonOptions {
  std::string file;
  Limits limits;
  // Bytes of nodes and text made before they are consumed. Smaller than the library's own default, so that a chunk
  // stays in a core's own cache between its making and its freeing (measured: a tenth off a whole `stats` run).
  std::uint32_t chunkBytes = 32 * 1024;
  bool quiet = false;  // no progress bar
};

// What a command does at each child document, for commands to derive from and to hide what they need.
struct ChildVisitor {
  bool enterChild(ArbForestChild&) { return true; }  // before what is in it; false ends the walk
  void leaveChild(ArbForestChild&) {}                // after what is in it
  bool enter(const ArbNode&) { return true; }        // every node of trees but their roots; false ends the walk
  void leave(const ArbNode&) {}
};

class ContentDocument {
 public:
  // Throws std::runtime_error or std::bad_alloc when the document cannot be made.
  ContentDocument(InputFile& input, const CommonOptions& options, const Wanted& wanted, Report& report,
                  Progress& progress);
  ~ContentDocument();
  ContentDocument(const ContentDocument&) = delete;
  ContentDocument& operator=(const ContentDocument&) = delete;

  // Walks the whole input, running the producer as far as it is needed; each child document is gone as soon as it has
  // been passed. Throws std::runtime_error when the library fails; a failure of the input is reported.
  template <typename Visitor>
  void walk(Visitor& visitor) {
    ArbForestChild* const root = &ArbDocumentRootForest(document_)->child;
    ArbForestChild* child = firstOf(*root);
    while (child) {
      if (!visitor.enterChild(*child)) return;
      ArbForestChild* next = nullptr;
      if (child->kind == ARB_CHILD_TREE && !walkNodes(asTree(child), visitor)) return;
      if (child->kind == ARB_CHILD_FOREST) next = firstOf(*child);
      while (!next && child != root) {
        visitor.leaveChild(*child);
        ArbForestChild* const parent = &child->parent->child;
        next = nextOf(*child);
        drop(*child);
        if (!next) child = parent;
      }
      child = next;
    }
  }

  ContentProducer& producer() { return producer_; }
  ArbDocument* document() { return document_; }
  ArbHostContext* host() { return &host_; }
  std::uint64_t mostLiveNodes() const { return mostLiveNodes_; }

  // The producer entry's work.
  std::uint32_t produce();

 private:
  template <typename Visitor>
  struct Nodes {
    Visitor& visitor;
    ContentDocument& document;
    bool ended = false;
    bool enter(const ArbNode& node) {
      ended = !visitor.enter(node);
      return !ended;
    }
    void leave(const ArbNode& node) { visitor.leave(node); }
    void released() { ++document.nodesReleased_; }
  };

  template <typename Visitor>
  bool walkNodes(ArbTree* tree, Visitor& visitor) {
    Nodes<Visitor> nodes{visitor, *this};
    require(walkTree(tree, nodes), "the walk");
    return !nodes.ended;
  }

  void open(const CommonOptions& options);
  void close();
  static ArbForestChild* firstOf(ArbForestChild& forest);
  static ArbForestChild* nextOf(ArbForestChild& child);
  static void drop(ArbForestChild& child);
  static void require(ArbStatus status, const char* what);

  InputFile& input_;
  Progress& progress_;
  ContentProducer producer_;
  ArbHostContext host_ = {};
  std::uint32_t source_ = 0;
  ArbDocument* document_ = nullptr;
  std::uint64_t nodesReleased_ = 0;
  std::uint64_t mostLiveNodes_ = 0;
};

}  // namespace arbtree::tool

#endif
