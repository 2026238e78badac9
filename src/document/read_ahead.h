// The waiting loop that every Wait call is: run the producer chunk by chunk until the answer exists or production has
// ended.
#ifndef ARBTREE_DOCUMENT_READ_AHEAD_H
#define ARBTREE_DOCUMENT_READ_AHEAD_H

#include "document/document.h"

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

}  // namespace arbtree

#endif
