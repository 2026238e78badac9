// Opening and closing a document, its producer entry, and the steps of a walk over its child documents.
#include "content_document.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "arbtree/srcaccess.h"
#include "handle_table.h"
#include "utf.h"

namespace arbtree::tool {
namespace {

HandleTable<ContentDocument> openDocuments;

std::uint32_t ARB_CALL runProducer(std::uint32_t handle, std::uint32_t, std::uint32_t) {
  ContentDocument* const document = openDocuments.find(handle);
  return document ? document->produce() : ARB_ERR_BADARG;
}

}  // namespace

ContentDocument::ContentDocument(InputFile& input, const CommonOptions& options, const Wanted& wanted, Report& report,
                                 Progress& progress)
    : input_(input), progress_(progress), producer_(input, options.limits, wanted, report) {
  try {
    open(options);
  } catch (...) {
    close();
    throw;
  }
}

ContentDocument::~ContentDocument() { close(); }

// Without an output path the paths of child documents begin at the root forest.
void ContentDocument::open(const CommonOptions& options) {
  const std::u16string path = toUtf16(input_.displayName());
  require(SrcOpen(path.c_str(), nullptr, &source_), "opening the source");
  host_.startEntry = runProducer;
  host_.continueEntry = runProducer;
  host_.producerArg1 = openDocuments.add(*this);
  require(ArbDocumentCreate(source_, &host_, nullptr, 0, 0, &document_), "making the document");
  require(ArbDocumentSetChunkBreakSize(document_, options.chunkBytes), "setting the chunk size");
}

void ContentDocument::close() {
  if (document_) ArbDocumentDestroy(document_);
  openDocuments.remove(host_.producerArg1);
  if (source_ != 0) SrcClose(source_);
}

// A node lives from its making in a run to its release by the walk, since a walk releases a node only when it has its
// next sibling, and by then the producer has released it. So the number alive only grows during a run. The root node
// lives as long as the tree.
std::uint32_t ContentDocument::produce() {
  const std::uint32_t result = producer_.run(document_);
  mostLiveNodes_ = std::max(mostLiveNodes_, producer_.counts().nodes - nodesReleased_ + 1);
  progress_.update(input_.bytesRead());
  return result;
}

ArbForestChild* ContentDocument::firstOf(ArbForestChild& forest) {
  ArbForestChild* first = nullptr;
  require(ArbForestWaitFirstChild(reinterpret_cast<ArbForest*>(&forest), &first), "waiting for a first child");
  return first;
}

ArbForestChild* ContentDocument::nextOf(ArbForestChild& child) {
  ArbForestChild* next = nullptr;
  require(ArbForestChildWaitNextSibling(&child, &next), "waiting for a sibling");
  return next;
}

// By then the producer has released the child: it has gone on behind it, or closed the forest.
void ContentDocument::drop(ArbForestChild& child) {
  ArbForestChildConsumerRelease(&child);
  switch (child.kind) {
    case ARB_CHILD_TREE:
      ArbTreeDestroy(asTree(&child));
      break;
    case ARB_CHILD_FILE:
      ArbFileDestroy(reinterpret_cast<ArbFile*>(&child));
      break;
    default:
      ArbForestDestroy(reinterpret_cast<ArbForest*>(&child));
  }
}

void ContentDocument::require(ArbStatus status, const char* what) {
  if (status == ARB_OK) return;
  if (status == ARB_ERR_NOMEMORY) throw std::bad_alloc();
  throw std::runtime_error(std::string(what) + " failed with status " + std::to_string(status));
}

}  // namespace arbtree::tool
