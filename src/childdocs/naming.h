// The names of child documents, expanded from patterns, and the document's two paths that they refer to.
#ifndef ARBTREE_CHILDDOCS_NAMING_H
#define ARBTREE_CHILDDOCS_NAMING_H

#include "arbtree/arbtree.h"

namespace arbtree {

// Fills the name of a child whose kind, id, document and formatId are set. A null pattern is "%f.%e". Cannot fail: a
// path that cannot be fetched counts as "out.xml", an unknown extension as empty, and what does not fit is cut.
//
//   %f %b %x   the input path's file name; up to its last "." (%b: nothing without one, %x: the whole name)
//   %F %B %X   the same of the output path
//   %e         the extension of the child's format
//   %n         the child's id
void nameChild(ArbDocument& document, const char16_t* pattern, ArbForestChild& child);

// The document's output path, fetched when it is not there yet; null when it cannot be had. The document owns it.
const char16_t* outputPath(ArbDocument& document);

}  // namespace arbtree

#endif
