// The read-ahead driver: one call runs the host's producer for one chunk.
//
//   not started --+                     +--> ended   (452)
//   restart (451) +--> running ---------+--> failed  (any other status; producerError)
//   continue (0) -+        |            +--> restart (451), continue (0)
//
// A document that has failed or ended never runs its producer again.
#include "document/document.h"
#include "platform/guard.h"

namespace arbtree {
namespace {

constexpr std::uint32_t kNodesPerChunk = 4096;
constexpr std::uint32_t kChildrenPerChunk = 32;
constexpr std::uint32_t kAbandon1 = 20;
constexpr std::uint32_t kAbandon2 = 32;

// The document's running state, and the break request that lasts as long. Both end with the scope, so also when a
// thread's cancellation unwinds through a run.
class Running {
 public:
  explicit Running(ArbDocument& document) : document_(document) { document_.flags |= ARB_DOC_RUNNING; }
  ~Running() {
    document_.breakRequested = 0;
    document_.flags &= ~ARB_DOC_RUNNING;
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

 private:
  ArbDocument& document_;
};

void clearChunk(ArbDocument& document) {
  document.chunkBytes = 0;
  document.chunkNodes = 0;
  document.chunkChildren = 0;
}

ArbProducerEntry takeEntry(ArbDocument& document) {
  const ArbHostContext* const host = document.hostContext;
  const bool start = (document.flags & ARB_DOC_START_PENDING) != 0;
  document.flags &= ~ARB_DOC_START_PENDING;
  if (!host) return nullptr;
  return start ? host->startEntry : host->continueEntry;
}

ArbStatus callProducer(ArbDocument& document) {
  const ArbProducerEntry entry = takeEntry(document);
  if (!entry) return ARB_ERR_BADARG;
  const ArbHostContext& host = *document.hostContext;
  return runGuarded({entry, host.producerArg1, host.producerArg2, host.producerArg3});
}

// Files the producer's result and gives the run's status.
ArbStatus settle(ArbDocument& document, ArbStatus result) {
  if (result == ARB_STATUS_BREAK) {
    document.flags |= ARB_DOC_START_PENDING;
    return ARB_OK;
  }
  if (result == ARB_STATUS_END) {
    document.flags |= ARB_DOC_ENDED;
  } else {
    document.producerError = result;
  }
  return result;
}

ArbStatus runChunk(ArbDocument& document) {
  const Running running(document);
  clearChunk(document);
  return settle(document, callProducer(document));
}

// A bail-out usually does not return; the document has left its running state by then.
void offerToAbandon(const ArbDocument& document) {
  const std::uint32_t answer = BaseStatusCallback(document.statusContext, 0, 0);
  if (answer == kAbandon1 || answer == kAbandon2) BaseBailOut(kAbandon1, 0, 0);
}

bool breakIsDue(const ArbDocument& document) {
  return document.breakRequested != 0 ||
         (document.chunkBreakSize != 0 && document.chunkBytes >= document.chunkBreakSize) ||
         document.chunkNodes > kNodesPerChunk || document.chunkChildren > kChildrenPerChunk;
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbDocumentReadAhead(ArbDocument* document) {
  if (!document) return ARB_ERR_BADARG;
  if (document->flags & ARB_DOC_ENDED) return ARB_STATUS_END;
  if (document->flags & ARB_DOC_RUNNING) return ARB_ERR_NOTREADY;
  if (document->producerError != 0) return document->producerError;
  const ArbStatus status = runChunk(*document);
  ++document->runCount;
  if (document->chunkBytes != 0) offerToAbandon(*document);
  return status;
}

ArbStatus ARB_CALL ArbDocumentQueryBreak(ArbDocument* document, uint32_t* due) {
  if (!document || !due) return ARB_ERR_BADARG;
  *due = breakIsDue(*document) ? 1 : 0;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbDocumentForceBreak(ArbDocument* document) {
  if (!document) return ARB_ERR_BADARG;
  document->breakRequested = 1;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbDocumentSetChunkBreakSize(ArbDocument* document, uint32_t bytes) {
  if (!document) return ARB_ERR_BADARG;
  document->chunkBreakSize = bytes;
  return ARB_OK;
}
