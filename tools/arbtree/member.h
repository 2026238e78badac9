// What the tool knows of a child document: the record that the producer attaches to it as metadata, and its path.
#ifndef ARBTREE_TOOL_MEMBER_H
#define ARBTREE_TOOL_MEMBER_H

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "arbtree/arbtree.h"

namespace arbtree::tool {

// Metadata keys of child documents.
inline constexpr std::uint32_t kMemberFacts = 0x41520001;  // a MemberFacts
inline constexpr std::uint32_t kMemberPath =
    0x41520002;  // the path's bytes, where a name of it is too long for a record
inline constexpr std::uint32_t kMemberLink = 0x41520003;  // the target of a link, in bytes

enum class LinkKind : std::uint32_t { none, symbolic, hard };

struct MemberFacts {
  std::int64_t size;  // -1 when the archive does not say before the content
  std::int64_t time;  // seconds since 1970
  std::uint32_t nanoseconds;
  std::uint32_t mode;  // with the type of the file
  std::uint32_t hasTime;
  LinkKind link;
};

ArbStatus setFacts(ArbForestChild& child, const MemberFacts& facts);
// REQUIRES: a child that the producer of members made.
MemberFacts factsOf(ArbForestChild& child);

// The path of a child within the input, in the archive's own bytes.
std::string pathOf(ArbForestChild& child);

// Metadata that is bytes; empty when there is none.
ArbStatus setBytes(ArbForestChild& child, std::uint32_t key, std::string_view bytes);
std::string bytesOf(ArbForestChild& child, std::uint32_t key);

// Whether a name is longer than a child document's record holds.
bool isTooLong(std::u16string_view pattern);

}  // namespace arbtree::tool

#endif
