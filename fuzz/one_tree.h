// A document whose production has ended, with a tree that nodes can be made in: for entries that are about the values
// of nodes. What it made goes with it, and then the library's heap is as it was.
#ifndef ARBTREE_FUZZ_ONE_TREE_H
#define ARBTREE_FUZZ_ONE_TREE_H

#include "arbtree/arbtree.h"
#include "fuzz.h"
#include "platform/heap.h"

namespace arbtree::fuzz {

class OneTree {
 public:
  OneTree() {
    context_.startEntry = context_.continueEntry = [](std::uint32_t, std::uint32_t, std::uint32_t) -> std::uint32_t {
      return ARB_STATUS_END;
    };
    require(ArbDocumentCreate(0, &context_, u"document", 0, 0, &document_) == ARB_OK, "a document is made");
    require(ArbDocumentReadAhead(document_) == ARB_STATUS_END, "production ends");
    require(ArbDocumentCreateTree(document_, u"tree", &tree_) == ARB_OK, "a tree is made");
    ArbForestAppendChild(ArbDocumentRootForest(document_), reinterpret_cast<ArbForestChild*>(tree_));
    require(ArbTreeQueryRootNode(tree_, &root_) == ARB_OK, "a tree has a root");
  }
  ~OneTree() {
    ArbDocumentDestroy(document_);
    require(heap::testing::liveBlocks() == blocksBefore_, "a destroyed document leaves nothing allocated");
  }
  OneTree(const OneTree&) = delete;
  OneTree& operator=(const OneTree&) = delete;

  ArbNode* make(std::uint32_t elementId) {
    ArbNode* node = nullptr;
    require(ArbTreeCreateNode(tree_, elementId, nullptr, &node) == ARB_OK, "a node is made");
    require(ArbNodeAppendChild(root_, node) == ARB_OK, "a node is appended");
    return node;
  }

 private:
  const std::uint64_t blocksBefore_ = heap::testing::liveBlocks();
  ArbHostContext context_ = {};
  ArbDocument* document_ = nullptr;
  ArbTree* tree_ = nullptr;
  ArbNode* root_ = nullptr;
};

}  // namespace arbtree::fuzz

#endif
