// Where a file child belongs below an output directory: the parts of its path, checked to lead nowhere else.
#ifndef ARBTREE_STANDINS_COMPWRITE_DOCUMENT_PATH_H
#define ARBTREE_STANDINS_COMPWRITE_DOCUMENT_PATH_H

#include <cstdint>
#include <string>
#include <vector>

#include "arbtree/arbtree.h"

namespace arbtree::standins {

// Stores the directories from the outermost on, and last the file's own name; never empty on ARB_OK. The other answer
// is COMPWRITE_ERR_NAME. May throw std::bad_alloc.
std::uint32_t documentPathParts(const ArbForestChild& child, std::vector<std::u16string>* parts);

}  // namespace arbtree::standins

#endif
