// Where elements stand: the member and the byte offset of the start tag, as find and dups print them.
#ifndef ARBTREE_TOOL_ELEMENT_PLACES_H
#define ARBTREE_TOOL_ELEMENT_PLACES_H

#include <cstdint>
#include <string>

#include "arbtree/arbtree.h"
#include "json_string.h"
#include "member.h"
#include "member_name.h"
#include "xml_producer.h"

namespace arbtree::tool {

struct ElementPlace {
  std::string path;  // as shown
  std::uint64_t offset;

  std::string asText() const { return path + ":" + std::to_string(offset); }
  std::string asJson() const {
    return "{\"path\": " + jsonString(path) + ", \"offset\": " + std::to_string(offset) + "}";
  }
};

// REQUIRES: a node of the watched kind.
inline std::uint64_t offsetOf(const ArbNode& node) {
  std::uint64_t offset = 0;
  std::uint32_t size = sizeof offset;
  ArbNodeGetMetadata(const_cast<ArbNode*>(&node), kNodeOffset, &offset, &size);
  return offset;
}

}  // namespace arbtree::tool

#endif
