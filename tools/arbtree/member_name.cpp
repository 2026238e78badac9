// Conversions between the forms of a name.
#include "member_name.h"

#include <utf8.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace arbtree::tool {
namespace {

constexpr char16_t kLoneByte = 0xDC00;

bool isHigh(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool isLow(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

// The length of the character at the beginning; 0 when there is none.
std::size_t characterLength(std::string_view bytes) {
  const auto first = static_cast<unsigned char>(bytes[0]);
  const std::size_t length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  const std::string_view character = bytes.substr(0, length);
  return utf8::is_valid(character.begin(), character.end()) ? length : 0;
}

bool isPlain(char byte) { return byte >= ' ' && byte < 0x7F && byte != '\\' && byte != '%'; }

std::string_view plainBeginning(std::string_view bytes) {
  return bytes.substr(0,
                      static_cast<std::size_t>(std::find_if_not(bytes.begin(), bytes.end(), isPlain) - bytes.begin()));
}

bool isControl(unsigned char byte) { return byte < 0x20 || byte == 0x7F; }

void showByte(unsigned char byte, std::string& out) {
  constexpr std::string_view kNamed = "\a\b\t\n\v\f\r\\";
  constexpr char kLetters[] = "abtnvfr\\";
  out += '\\';
  if (const std::size_t at = kNamed.find(static_cast<char>(byte)); at != std::string_view::npos) {
    out += kLetters[at];
    return;
  }
  char octal[4];
  std::snprintf(octal, sizeof octal, "%03o", static_cast<unsigned>(byte));
  out += octal;
}

}  // namespace

std::u16string toPattern(std::string_view bytes) {
  std::u16string name;
  name.reserve(bytes.size());
  while (!bytes.empty()) {
    const std::string_view plain = plainBeginning(bytes);
    name.append(plain.begin(), plain.end());
    bytes.remove_prefix(plain.size());
    if (bytes.empty()) break;
    const bool isSpecial = bytes[0] == '%' || bytes[0] == '\0';
    const std::size_t length = isSpecial ? 0 : characterLength(bytes);
    if (length == 0) {
      name += static_cast<char16_t>(kLoneByte + static_cast<unsigned char>(bytes[0]));
      bytes.remove_prefix(1);
      continue;
    }
    utf8::unchecked::utf8to16(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length),
                              std::back_inserter(name));
    bytes.remove_prefix(length);
  }
  return name;
}

std::string toBytes(std::u16string_view name) {
  std::string bytes;
  bytes.reserve(name.size());
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (name[i] < 0x80) {
      bytes += static_cast<char>(name[i]);
    } else if (isHigh(name[i]) && i + 1 < name.size() && isLow(name[i + 1])) {
      utf8::unchecked::utf16to8(&name[i], &name[i] + 2, std::back_inserter(bytes));
      ++i;
    } else if (isLow(name[i])) {
      bytes += static_cast<char>(name[i] - kLoneByte);
    } else {
      utf8::unchecked::append(name[i], std::back_inserter(bytes));
    }
  }
  return bytes;
}

std::string shown(std::string_view bytes) {
  std::string out(plainBeginning(bytes));
  bytes.remove_prefix(out.size());
  while (!bytes.empty()) {
    const auto first = static_cast<unsigned char>(bytes[0]);
    const std::size_t length = isControl(first) || first == '\\' ? 0 : characterLength(bytes);
    const bool isC1 = length == 2 && first == 0xC2 && static_cast<unsigned char>(bytes[1]) < 0xA0;
    if (length == 0 || isC1) {
      showByte(first, out);
      bytes.remove_prefix(1);
      continue;
    }
    out.append(bytes.substr(0, length));
    bytes.remove_prefix(length);
  }
  return out;
}

}  // namespace arbtree::tool
