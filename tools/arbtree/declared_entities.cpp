// Looking for references in the text of a start tag.
#include "declared_entities.h"

#include <utf8.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace arbtree::tool {
namespace {

std::string fromUtf16(std::string_view bytes, bool isBigEndian) {
  std::u16string units;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto first = static_cast<unsigned char>(bytes[i]);
    const auto second = static_cast<unsigned char>(bytes[i + 1]);
    units += static_cast<char16_t>(isBigEndian ? first << 8 | second : second << 8 | first);
  }
  std::string text;
  utf8::utf16to8(units.begin(), units.end(), std::back_inserter(text));
  return text;
}

std::string fromLatin1(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) utf8::append(static_cast<unsigned char>(byte), std::back_inserter(text));
  return text;
}

// The start tag as it is written, in UTF-8. Expat takes it in that, in UTF-16, or in Latin-1 or a part of it.
std::string tagText(XML_Parser parser) {
  int offset = 0;
  int size = 0;
  const char* const context = XML_GetInputContext(parser, &offset, &size);
  if (!context) return {};
  const int length = std::min(XML_GetCurrentByteCount(parser), size - offset);
  const std::string_view bytes(context + offset, static_cast<std::size_t>(length));
  if (bytes.starts_with(std::string_view("\0<", 2))) return fromUtf16(bytes, true);
  if (bytes.starts_with(std::string_view("<\0", 2))) return fromUtf16(bytes, false);
  return utf8::is_valid(bytes.begin(), bytes.end()) ? std::string(bytes) : fromLatin1(bytes);
}

}  // namespace

bool DeclaredEntities::isDeclared(const std::string& name) const {
  constexpr std::array<std::string_view, 5> kPredefined = {"amp", "apos", "gt", "lt", "quot"};
  if (name.starts_with('#') || names_.contains(name)) return true;
  return std::find(kPredefined.begin(), kPredefined.end(), name) != kPredefined.end();
}

void DeclaredEntities::eachUndeclared(XML_Parser parser, const std::function<void(const std::string&)>& give) const {
  const std::string text = tagText(parser);
  if (!text.starts_with('<')) return;
  for (std::size_t at = text.find('&'); at != std::string::npos; at = text.find('&', at + 1)) {
    const std::string name = text.substr(at + 1, text.find(';', at) - at - 1);
    if (!isDeclared(name)) give(name);
  }
}

}  // namespace arbtree::tool
