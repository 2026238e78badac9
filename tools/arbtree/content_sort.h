// What the bytes of a member are: XML, an archive, or something that nobody parses.
#ifndef ARBTREE_TOOL_CONTENT_SORT_H
#define ARBTREE_TOOL_CONTENT_SORT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace arbtree::tool {

// A seeking archive can only be read from a file of its own, as its directory is at its end (7z).
enum class ContentSort : std::uint8_t { file, xml, archive, seekingArchive };

// So many bytes from the beginning decide.
inline constexpr std::size_t kSortBytes = 1024;

// What the ending of a name says: names of XML are taken at their word, and so are those of formats that are neither
// XML nor an archive, so that listing an archive need not unpack each member. Nothing for all other names.
std::optional<ContentSort> sortByName(std::string_view name);
ContentSort sortByContent(std::string_view beginning);

}  // namespace arbtree::tool

#endif
