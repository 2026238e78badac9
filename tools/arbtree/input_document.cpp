// Opening and closing a document, and its producer entry.
#include "input_document.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "arbtree/srcaccess.h"
#include "handle_table.h"
#include "member_name.h"

namespace arbtree::tool {
namespace {

HandleTable<InputDocument> openDocuments;

std::uint32_t ARB_CALL runProducer(std::uint32_t handle, std::uint32_t, std::uint32_t) {
  InputDocument* const document = openDocuments.find(handle);
  return document ? document->produce() : ARB_ERR_BADARG;
}

}  // namespace

InputDocument::InputDocument(InputFile& input, const Limits& limits, const Wishes& wishes, Progress& progress,
                             Problems& problems)
    : input_(input), progress_(progress), producer_(input, limits, wishes, problems) {
  try {
    open(limits);
  } catch (...) {
    close();
    throw;
  }
}

InputDocument::~InputDocument() { close(); }

void InputDocument::open(const Limits& limits) {
  const std::u16string path = toPattern(input_.displayName());
  require(SrcOpen(path.c_str(), nullptr, &source_), "opening the source");
  host_.startEntry = runProducer;
  host_.continueEntry = runProducer;
  host_.producerArg1 = openDocuments.add(*this);
  require(ArbDocumentCreate(source_, &host_, u"", 0, 0, &document_), "making the document");
  require(ArbDocumentSetChunkBreakSize(document_, limits.chunkBytes), "setting the chunk size");
}

void InputDocument::close() {
  if (document_) ArbDocumentDestroy(document_);
  openDocuments.remove(host_.producerArg1);
  if (source_ != 0) SrcClose(source_);
}

// A node lives from its making in a run to its release by the walk, since a walk releases a node only when it has its
// next sibling, and by then the producer has released it. So the number alive only grows during a run. The root node
// lives as long as the tree.
std::uint32_t InputDocument::produce() {
  const std::uint32_t result = producer_.run(document_);
  mostLiveNodes_ = std::max(mostLiveNodes_, producer_.production().nodes - nodesReleased_ + 1);
  progress_.update(input_.bytesRead());
  return result;
}

ArbForestChild* InputDocument::firstChild(ArbForest* forest) {
  ArbForestChild* child = nullptr;
  require(ArbForestWaitFirstChild(forest, &child), "waiting for a member");
  return child;
}

ArbForestChild* InputDocument::nextSibling(ArbForestChild* child) {
  ArbForestChild* sibling = nullptr;
  require(ArbForestChildWaitNextSibling(child, &sibling), "waiting for a member");
  return sibling;
}

void InputDocument::destroy(ArbForestChild* child) {
  if (child->kind == ARB_CHILD_TREE) {
    ArbTreeDestroy(asTree(child));
  } else {
    ArbFileDestroy(asFile(child));
  }
}

void InputDocument::require(ArbStatus status, const char* what) {
  if (status == ARB_OK) return;
  if (status == ARB_ERR_NOMEMORY) throw std::bad_alloc();
  throw std::runtime_error(std::string(what) + " failed with status " + std::to_string(status));
}

}  // namespace arbtree::tool
