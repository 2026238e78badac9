// The document's interned strings, as the rest of the library needs them.
#ifndef ARBTREE_NODETYPES_STRINGS_H
#define ARBTREE_NODETYPES_STRINGS_H

#include "document/document.h"

namespace arbtree {

// Frees every string of the document, its table and its index.
void destroyStrings(ArbDocument& document);

}  // namespace arbtree

#endif
