// The root forest of a document.
#ifndef ARBTREE_TOOL_ROOT_FOREST_H
#define ARBTREE_TOOL_ROOT_FOREST_H

#include <cstdint>

#include "arbtree/arbtree.h"

namespace arbtree::tool {

// The public header keeps the document record closed and has no call for its root forest. The record's first fields
// have a fixed order, so they are read here, and nowhere else.
inline ArbForest* rootForestOf(const ArbDocument* document) {
  struct FirstFields {
    std::uint32_t source;
    ArbHostContext* hostContext;
    std::uint32_t flags;
    std::uint32_t producerError;
    std::uint32_t childCounter;
    ArbForest* rootForest;
  };
  return reinterpret_cast<const FirstFields*>(document)->rootForest;
}

}  // namespace arbtree::tool

#endif
