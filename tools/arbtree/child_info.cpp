#include "child_info.h"

#include <utf8.h>

#include <cstdio>
#include <cstring>
#include <vector>

namespace arbtree::tool {
namespace {

enum Key : std::uint32_t { kName = 1, kType, kSize, kModified, kMode, kLink };

constexpr std::size_t kMaxNameUnits = 259;

bool keep(ArbForestChild& child, Key key, const void* value, std::size_t size) {
  ArbForestChildSetMetadata(&child, key, value, static_cast<std::uint32_t>(size));
  std::uint32_t kept = 0;
  return ArbForestChildGetMetadata(&child, key, nullptr, &kept) == ARB_OK && kept == size;
}

template <typename Number>
bool keepNumber(ArbForestChild& child, Key key, Number value) {
  return keep(child, key, &value, sizeof value);
}

template <typename Number>
std::optional<Number> number(ArbForestChild& child, Key key) {
  Number value = 0;
  std::uint32_t size = sizeof value;
  if (ArbForestChildGetMetadata(&child, key, &value, &size) != ARB_OK) return std::nullopt;
  return value;
}

std::string bytes(ArbForestChild& child, Key key) {
  std::uint32_t size = 0;
  if (ArbForestChildGetMetadata(&child, key, nullptr, &size) != ARB_OK) return {};
  std::string value(size, '\0');
  ArbForestChildGetMetadata(&child, key, value.data(), &size);
  return value;
}

bool needsEscape(char32_t character) {
  return character < 0x20 || character == '\\' || character == '%' || (character >= 0x7F && character < 0xA0) ||
         character == 0x2028 || character == 0x2029;
}

void appendEscaped(std::string& text, std::string_view raw) {
  for (const char byte : raw) {
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    text += escape;
  }
}

// Outermost first, but for the root forest, which has no name of its own.
std::vector<ArbForestChild*> lineage(ArbForestChild& child) {
  std::vector<ArbForestChild*> line;
  for (ArbForestChild* at = &child; at->parent; at = &at->parent->child) line.insert(line.begin(), at);
  return line;
}

std::string join(const std::vector<ArbForestChild*>& line) {
  std::string path;
  for (ArbForestChild* const child : line) {
    if (!path.empty()) path += '/';
    path += memberName(*child);
  }
  return path;
}

std::string libraryPath(ArbForestChild& child) {
  std::uint32_t size = 0;
  ArbForestChildGetDocumentPath(&child, nullptr, &size);
  std::u16string path(size, u'\0');
  if (ArbForestChildGetDocumentPath(&child, path.data(), &size) != ARB_OK) return {};
  path.resize(std::char_traits<char16_t>::length(path.c_str()));
  return utf8::utf16to8(path);
}

}  // namespace

std::string displayName(std::string_view raw) {
  std::string text;
  auto at = raw.begin();
  while (at != raw.end()) {
    const auto start = at;
    try {
      const char32_t character = utf8::next(at, raw.end());
      const std::string_view part(start, at);
      needsEscape(character) ? appendEscaped(text, part) : static_cast<void>(text.append(part));
    } catch (const utf8::exception&) {
      at = start + 1;
      appendEscaped(text, {start, at});
    }
  }
  return text;
}

std::u16string namePattern(std::string_view raw) {
  // An empty pattern would stand for a name, too.
  return utf8::utf8to16(displayName(raw));
}

bool keepMember(ArbForestChild& child, const Member& member) {
  return keep(child, kName, member.path.data(), member.path.size()) &&
         keepNumber(child, kType, static_cast<std::uint8_t>(member.type)) && keepNumber(child, kMode, member.mode) &&
         (!member.size || keepNumber(child, kSize, *member.size)) &&
         (!member.modified || keepNumber(child, kModified, *member.modified)) &&
         (member.link.empty() || keep(child, kLink, member.link.data(), member.link.size()));
}

bool keepSize(ArbForestChild& child, std::uint64_t size) { return keepNumber(child, kSize, size); }

MemberType memberTypeOf(ArbForestChild& child) {
  return static_cast<MemberType>(number<std::uint8_t>(child, kType).value_or(0));
}
std::optional<std::uint64_t> memberSize(ArbForestChild& child) { return number<std::uint64_t>(child, kSize); }
std::optional<std::int64_t> memberModified(ArbForestChild& child) { return number<std::int64_t>(child, kModified); }
std::uint32_t memberMode(ArbForestChild& child) { return number<std::uint32_t>(child, kMode).value_or(0); }
std::string memberLink(ArbForestChild& child) { return bytes(child, kLink); }
std::string memberName(ArbForestChild& child) { return bytes(child, kName); }

std::string memberPath(ArbForestChild& child) { return join(lineage(child)); }

std::string displayPath(ArbForestChild& child) {
  const std::vector<ArbForestChild*> line = lineage(child);
  for (ArbForestChild* const at : line) {
    if (std::char_traits<char16_t>::length(at->name) == kMaxNameUnits) return displayName(join(line));
  }
  return libraryPath(child);
}

}  // namespace arbtree::tool
