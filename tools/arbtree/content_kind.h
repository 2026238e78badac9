// Telling from the first bytes of some content, and from its name, what to do with it.
#ifndef ARBTREE_TOOL_CONTENT_KIND_H
#define ARBTREE_TOOL_CONTENT_KIND_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace arbtree::tool {

enum class ContentKind { other, xml, compressed, tar, zip, cpio, ar, sevenZip, cab, rar, rar5, xar, lha, iso9660 };

inline bool isArchive(ContentKind kind) { return kind >= ContentKind::tar; }

// No kind but one shows in more of the beginning than this: a whole header of a tar archive.
inline constexpr std::size_t kMostSignBytes = 512;
// The image of a disc shows behind the room for a system; only what may have the name of one is looked at so far.
inline constexpr std::size_t kDiscSignBytes = 32768 + 130;
// As many bytes as tell most kinds, and that most content is no tar archive.
inline constexpr std::size_t kSignBytes = 108;

// A name; none where it is not known.
using NameOfContent = std::optional<std::string_view>;

// How many bytes recognise() needs of content that begins like this. REQUIRES: kSignBytes of it, or all.
std::size_t bytesToTell(std::string_view beginning, NameOfContent name);

// Whether the name alone says that the content is neither XML nor an archive nor compressed, so that it need not be
// looked at: beginning to unpack a member is most of what listing it costs.
bool isOpaqueByName(std::string_view name);

// Whether the name says that the content is an archive, or XML that is compressed.
bool promisesMore(std::string_view name);

// The name that compressed content of this name has once it is unpacked.
std::string nameOfUnpacked(std::string_view name);

bool beginsWithMarkup(std::string_view beginning);

// An archive without members is recognised by its name where it has no sign. XML is what begins with an XML
// declaration; without one, what begins with markup and has a name that says XML.
ContentKind recognise(std::string_view beginning, NameOfContent name);

}  // namespace arbtree::tool

#endif
