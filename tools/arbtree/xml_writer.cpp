// Tags, attributes, and escaping.
#include "xml_writer.h"

#include <utf8.h>

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace arbtree::tool {
namespace {

// What to write for each ASCII character; null for the character itself.
using Escapes = std::array<const char*, 128>;

constexpr std::size_t kMostBytesOfAUnit = 6;  // "&quot;"

constexpr Escapes kNoEscapes{};

// A parser reads a carriage return as a line feed, and in attributes every line end and tab as a space.
constexpr Escapes textEscapes() {
  Escapes escapes{};
  escapes['&'] = "&amp;";
  escapes['<'] = "&lt;";
  escapes['>'] = "&gt;";
  escapes['\r'] = "&#13;";
  return escapes;
}

constexpr Escapes attributeEscapes() {
  Escapes escapes = textEscapes();
  escapes['"'] = "&quot;";
  escapes['\t'] = "&#9;";
  escapes['\n'] = "&#10;";
  return escapes;
}

constexpr Escapes kTextEscapes = textEscapes();
constexpr Escapes kAttributeEscapes = attributeEscapes();

bool isFirstOfPair(char16_t unit) { return (unit & 0xFC00) == 0xD800; }

// REQUIRES: every surrogate in the text is one of a pair.
char* writeUnit(const char16_t*& next, char* out, const Escapes& escapes) {
  const char16_t unit = *next++;
  if (unit < 128) {
    const char* const escape = escapes[unit];
    if (!escape) {
      *out++ = static_cast<char>(unit);
      return out;
    }
    const std::string_view text = escape;
    return std::copy(text.begin(), text.end(), out);
  }
  std::uint32_t character = unit;
  if (isFirstOfPair(unit)) character = 0x10000u + ((unit & 0x3FFu) << 10) + (*next++ & 0x3FFu);
  return utf8::unchecked::append(character, out);
}

void writeText(OutputFile& out, std::u16string_view text, const Escapes& escapes) {
  const char16_t* next = text.data();
  const char16_t* const end = next + text.size();
  while (next != end) {
    char* bytes = out.reserve(1024);
    const std::size_t units = out.room() / kMostBytesOfAUnit - 1;  // one more, should the last be half a pair
    const char16_t* const stop = next + std::min(units, static_cast<std::size_t>(end - next));
    while (next < stop) bytes = writeUnit(next, bytes, escapes);
    out.commit(bytes);
  }
}

std::u16string_view valueOf(const ArbNode& node) {
  const auto& text = reinterpret_cast<const ArbTextNode&>(node);
  return {text.text, text.textLength};
}

bool isEarlier(const AttributeEntry& a, const AttributeEntry& b) { return a.offset < b.offset; }

}  // namespace

void writePlainText(OutputFile& out, std::u16string_view text) { writeText(out, text, kNoEscapes); }

void XmlWriter::enter(const ArbNode& node) {
  if (!declared_) out_.append("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
  declared_ = true;
  if (tagOpen_) out_.append('>');
  tagOpen_ = false;
  ++depth_;
  switch (sortOf(node)) {
    case NodeSort::text:
      return writeText(out_, valueOf(node), kTextEscapes);
    case NodeSort::comment:
      return writeComment(asElement(node));
    case NodeSort::instruction:
      return writeInstruction(asElement(node));
    case NodeSort::element:
      return startElement(asElement(node), kindOf(node));
  }
}

void XmlWriter::leave(const ArbNode& node) {
  --depth_;
  if (tagOpen_) {
    out_.append("/>");
    tagOpen_ = false;
  } else if (sortOf(node) == NodeSort::element) {
    out_.append("</");
    out_.append(kindOf(node).name);
    out_.append('>');
  }
  if (depth_ == 0) out_.append('\n');
}

void XmlWriter::startElement(const ElementNode& element, const ElementKind& kind) {
  out_.append('<');
  out_.append(kind.name);
  for (const AttributeEntry& entry : inDocumentOrder(element)) {
    out_.append(' ');
    out_.append(kind.attributes[entry.index]->text);
    out_.append("=\"");
    writeText(out_, element.value(entry), kAttributeEscapes);
    out_.append('"');
  }
  tagOpen_ = true;
}

std::span<const AttributeEntry> XmlWriter::inDocumentOrder(const ElementNode& element) {
  const auto entries = element.attributes();
  if (std::is_sorted(entries.begin(), entries.end(), isEarlier)) return entries;
  reordered_.assign(entries.begin(), entries.end());
  std::sort(reordered_.begin(), reordered_.end(), isEarlier);
  return reordered_;
}

void XmlWriter::writeComment(const ElementNode& comment) {
  out_.append("<!--");
  writeText(out_, comment.value(comment.attributes()[ElementKinds::kCommentText]), kNoEscapes);
  out_.append("-->");
}

void XmlWriter::writeInstruction(const ElementNode& instruction) {
  const auto data = instruction.value(instruction.attributes()[ElementKinds::kInstructionData]);
  out_.append("<?");
  writeText(out_, instruction.value(instruction.attributes()[ElementKinds::kInstructionTarget]), kNoEscapes);
  if (!data.empty()) out_.append(' ');
  writeText(out_, data, kNoEscapes);
  out_.append("?>");
}

}  // namespace arbtree::tool
