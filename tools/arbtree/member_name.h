// The names of members. An archive's names are bytes, mostly UTF-8; the library's names are UTF-16 and are expanded
// from patterns. A byte that is no part of a UTF-8 character, and the "%" that patterns use, becomes the lone surrogate
// 0xDC00 + byte, which no character gives, so the bytes can always be had back.
#ifndef ARBTREE_TOOL_MEMBER_NAME_H
#define ARBTREE_TOOL_MEMBER_NAME_H

#include <string>
#include <string_view>

namespace arbtree::tool {

std::u16string toPattern(std::string_view bytes);
std::string toBytes(std::u16string_view name);

// As the tool shows a name: what cannot be printed as C escapes, a backslash doubled, everything else as it is.
std::string shown(std::string_view bytes);

}  // namespace arbtree::tool

#endif
