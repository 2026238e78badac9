// What the tool knows of a child document beyond what the library keeps: metadata under keys of the tool's own, and the
// names that are shown.
//
// The bytes of a member's name are kept exactly. What is shown, and what the library gets as the child's name, is text
// on one line: valid UTF-8 as it is, every other byte, control character, backslash and percent sign as \xNN.
#ifndef ARBTREE_TOOL_CHILD_INFO_H
#define ARBTREE_TOOL_CHILD_INFO_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "arbtree/arbtree.h"
#include "archive_reader.h"

namespace arbtree::tool {

std::string displayName(std::string_view bytes);
// The pattern from which the library makes the name.
std::u16string namePattern(std::string_view bytes);

// Keeps what an archive says of a member with the child document that is made of it. False without memory.
bool keepMember(ArbForestChild& child, const Member& member);
// The size of a file is known at the latest when its content has been read.
bool keepSize(ArbForestChild& child, std::uint64_t size);

// What was kept; of a child document that is no member, only the type.
MemberType memberTypeOf(ArbForestChild& child);
std::optional<std::uint64_t> memberSize(ArbForestChild& child);
std::optional<std::int64_t> memberModified(ArbForestChild& child);
std::uint32_t memberMode(ArbForestChild& child);
std::string memberLink(ArbForestChild& child);
// The bytes of the name within the child's archive, and of the whole path from the outermost archive on.
std::string memberName(ArbForestChild& child);
std::string memberPath(ArbForestChild& child);

// The path as it is shown. It is the library's document path, unless a name in it is longer than the library keeps.
std::string displayPath(ArbForestChild& child);

}  // namespace arbtree::tool

#endif
