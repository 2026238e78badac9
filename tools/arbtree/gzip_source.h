// What a gzip stream (RFC 1952) unpacks to. Unlike libarchive's filter it checks the check sum and the length that
// stand behind each member of the stream.
#ifndef ARBTREE_TOOL_GZIP_SOURCE_H
#define ARBTREE_TOOL_GZIP_SOURCE_H

#include <memory>

#include "byte_source.h"
#include "content_limits.h"

namespace arbtree::tool {

// Borrows the source, which stands at the beginning of the stream. Throws std::bad_alloc.
std::unique_ptr<ByteSource> gunzip(ByteSource& source, Budget& budget);

// Whether a stream that begins so is one of gzip.
bool beginsAsGzip(std::string_view beginning);

}  // namespace arbtree::tool

#endif
