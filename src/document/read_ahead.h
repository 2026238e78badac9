// The waiting loop that every Wait call is: run the producer chunk by chunk until the answer exists or production has
// ended.
#ifndef ARBTREE_DOCUMENT_READ_AHEAD_H
#define ARBTREE_DOCUMENT_READ_AHEAD_H

#include "tree/node.h"

namespace arbtree {

// ARB_OK once `answered()` holds, or when production has ended (the answer may still be missing then); any other status
// is the failure of a run. A bail-out may leave this loop by a non-local exit, so a caller holds nothing across it.
template <typename Condition>
ArbStatus waitUntil(ArbDocument& document, Condition answered) {
  while (!answered()) {
    const ArbStatus status = ArbDocumentReadAhead(&document);
    if (status == ARB_STATUS_END) return ARB_OK;
    if (status != ARB_OK) return status;
  }
  return ARB_OK;
}

// The same for a question that may be asked about a node which the consumer has released: a run may free it, and that
// ends the wait. The node is asked only while it is alive.
template <typename Condition>
ArbStatus waitWhileAlive(const ArbNode& node, Condition answered) {
  const NodeWatch watch(node);
  return waitUntil(documentOf(node), [&] { return !watch.isAlive() || answered(); });
}

}  // namespace arbtree

#endif
