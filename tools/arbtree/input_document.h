// An input on its way through the library: its source, document and producer, held together from the first chunk to the
// last release, and the walk over its members.
#ifndef ARBTREE_TOOL_INPUT_DOCUMENT_H
#define ARBTREE_TOOL_INPUT_DOCUMENT_H

#include <cstdint>

#include "arbtree/arbtree.h"
#include "member_producer.h"
#include "progress.h"
#include "walk.h"

namespace arbtree::tool {

class InputDocument {
 public:
  // Throws std::runtime_error or std::bad_alloc when the document cannot be made.
  InputDocument(InputFile& input, const Limits& limits, const Wishes& wishes, Progress& progress, Problems& problems);
  ~InputDocument();
  InputDocument(const InputDocument&) = delete;
  InputDocument& operator=(const InputDocument&) = delete;

  // Walks all members, running the producer as far as it is needed; each is destroyed when it has been passed, so that
  // only the open forests and what is left of the last chunk are alive. No stack grows with the nesting. The visitor
  // has
  //   bool enter(ArbForestChild&)   each child document, before the members of a forest; false ends the walk
  //   void leave(ArbForest&)        each forest but the root, after its members
  // Throws std::runtime_error when the library fails; what is wrong with the input goes to the problems.
  template <typename Visitor>
  void walkMembers(Visitor& visitor) {
    ArbForest* const root = ArbDocumentRootForest(document_);
    ArbForest* forest = root;
    ArbForestChild* child = firstChild(root);
    for (;;) {
      while (!child) {
        if (forest == root) return;
        visitor.leave(*forest);
        ArbForest* const ended = forest;
        forest = ended->child.parent;
        child = nextSibling(&ended->child);
        ArbForestDestroy(ended);
      }
      if (!visitor.enter(*child)) return;
      if (child->kind == ARB_CHILD_FOREST) {
        forest = asForest(child);
        child = firstChild(forest);
      } else {
        ArbForestChild* const next = nextSibling(child);
        destroy(child);
        child = next;
      }
    }
  }

  // Walks the nodes of a tree; see walkTree. The handler has the enter and leave of its visitor. False when the handler
  // ended the walk.
  template <typename Handler>
  bool walkNodes(ArbTree* tree, Handler& handler) {
    NodeVisitor<Handler> visitor{handler, *this};
    require(walkTree(tree, visitor), "the walk");
    return !visitor.ended;
  }

  MemberProducer& producer() { return producer_; }
  ArbHostContext& host() { return host_; }
  std::uint64_t mostLiveNodes() const { return mostLiveNodes_; }

  // The producer entry's work.
  std::uint32_t produce();

 private:
  template <typename Handler>
  struct NodeVisitor {
    Handler& handler;
    InputDocument& document;
    bool ended = false;
    bool enter(const ArbNode& node) {
      ended = !handler.enter(node);
      return !ended;
    }
    void leave(const ArbNode& node) { handler.leave(node); }
    void released() { ++document.nodesReleased_; }
  };

  void open(const Limits& limits);
  void close();
  ArbForestChild* firstChild(ArbForest* forest);
  ArbForestChild* nextSibling(ArbForestChild* child);
  static void destroy(ArbForestChild* child);
  static void require(ArbStatus status, const char* what);

  InputFile& input_;
  Progress& progress_;
  MemberProducer producer_;
  ArbHostContext host_ = {};
  std::uint32_t source_ = 0;
  ArbDocument* document_ = nullptr;
  std::uint64_t nodesReleased_ = 0;
  std::uint64_t mostLiveNodes_ = 0;
};

}  // namespace arbtree::tool

#endif
