// Raising events: a document without callbacks pays one comparison.
#ifndef ARBTREE_DOCUMENT_EVENTS_H
#define ARBTREE_DOCUMENT_EVENTS_H

#include "document/document.h"

namespace arbtree {

inline void raiseEvent(ArbDocument& document, std::uint32_t event, ArbNode* node) {
  if (document.callbackCount != 0) [[unlikely]]
    ArbDocumentDoCallback(&document, event, node);
}

}  // namespace arbtree

#endif
