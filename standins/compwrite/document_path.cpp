#include "compwrite/document_path.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "arbtree/compwrite.h"

namespace arbtree::standins {

namespace {

std::u16string_view nameOf(const ArbForestChild& child) {
  const auto* const end = std::find(std::begin(child.name), std::end(child.name), u'\0');
  return {child.name, static_cast<std::size_t>(end - child.name)};
}

bool isWellFormed(std::u16string_view part) {
  bool high = false;  // the unit before was a high surrogate
  for (const char16_t unit : part) {
    const bool low = unit >= 0xDC00 && unit < 0xE000;
    if (low != high) return false;
    high = unit >= 0xD800 && unit < 0xDC00;
  }
  return !high;
}

// True for a part that every file system takes as the name of one entry of the directory it is looked up in. Some drop
// dots and spaces at the end of a name, so a part of nothing else may be a way up; a colon may begin a path on another
// drive or name another stream of a file.
bool isSafePart(std::u16string_view part) {
  const bool onlyDotsAndSpaces = part.find_first_not_of(u". ") == std::u16string_view::npos;
  const bool badUnit = std::any_of(part.begin(), part.end(), [](char16_t unit) { return unit < 0x20 || unit == u':'; });
  return !onlyDotsAndSpaces && !badUnit && isWellFormed(part);
}

// Appends the parts of one name; false when one of them is refused.
bool appendParts(std::u16string_view name, std::vector<std::u16string>* parts) {
  for (;;) {
    const std::size_t length = std::min(name.find_first_of(u"/\\"), name.size());
    const std::u16string_view part = name.substr(0, length);
    if (!isSafePart(part)) return false;
    parts->emplace_back(part);
    if (length == name.size()) return true;
    name.remove_prefix(length + 1);
  }
}

}  // namespace

std::uint32_t documentPathParts(const ArbForestChild& child, std::vector<std::u16string>* parts) {
  std::vector<const ArbForestChild*> chain{&child};
  for (const ArbForest* forest = child.parent; forest; forest = forest->child.parent) {
    if (forest->archiveType != 0) chain.push_back(&forest->child);
  }
  parts->clear();
  const bool safe = std::all_of(chain.rbegin(), chain.rend(),
                                [parts](const ArbForestChild* link) { return appendParts(nameOf(*link), parts); });
  return safe ? ARB_OK : COMPWRITE_ERR_NAME;
}

}  // namespace arbtree::standins
