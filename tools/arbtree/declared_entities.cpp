// Looking for references in the text of a start tag.
#include "declared_entities.h"

#include <algorithm>
#include <array>

namespace arbtree::tool {
namespace {

// The start tag as it is written. In UTF-16, what is ASCII comes out as such.
std::string tagText(XML_Parser parser) {
  int offset = 0;
  int size = 0;
  const char* const context = XML_GetInputContext(parser, &offset, &size);
  if (!context) return {};
  std::string text(context + offset,
                   static_cast<std::size_t>(std::min(XML_GetCurrentByteCount(parser), size - offset)));
  std::erase(text, '\0');
  return text;
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
