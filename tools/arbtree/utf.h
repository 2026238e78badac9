// Text conversion. Expat hands over UTF-8 that it has checked; nodes hold UTF-16; output is UTF-8.
#ifndef ARBTREE_TOOL_UTF_H
#define ARBTREE_TOOL_UTF_H

#include <utf8.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace arbtree::tool {

// writeUtf16 may touch this many units behind those that it writes.
inline constexpr std::size_t kUtf16Slack = 8;

inline char16_t* writeCharacter(const char*& text, char16_t* out) {
  const std::uint32_t character = utf8::unchecked::next(text);
  if (character <= 0xFFFF) {
    *out++ = static_cast<char16_t>(character);
  } else {
    *out++ = static_cast<char16_t>(0xD7C0 + (character >> 10));
    *out++ = static_cast<char16_t>(0xDC00 | (character & 0x3FF));
  }
  return out;
}

// Writes valid UTF-8 as UTF-16 and answers the end of what it wrote: at most one unit a byte. Most text is ASCII: eight
// bytes are widened at once, of which those before the first other character count. (Measured against utfcpp alone: a
// tenth off a whole `stats` run.)
inline char16_t* writeUtf16(const char* text, std::size_t length, char16_t* out) {
  constexpr std::size_t kBlock = 8;
  constexpr std::uint64_t kNotAscii = 0x8080808080808080u;
  const char* const end = text + length;
  while (static_cast<std::size_t>(end - text) >= kBlock) {
    unsigned char bytes[kBlock];  // of their own, so that compilers see that `out` is elsewhere and use vectors
    std::memcpy(bytes, text, kBlock);
    char16_t units[kBlock];
    for (std::size_t i = 0; i < kBlock; ++i) units[i] = bytes[i];
    std::memcpy(out, units, sizeof units);
    std::uint64_t others;
    std::memcpy(&others, bytes, kBlock);
    others &= kNotAscii;
    if (others == 0) {
      text += kBlock;
      out += kBlock;
      continue;
    }
    const int bits = std::endian::native == std::endian::little ? std::countr_zero(others) : std::countl_zero(others);
    text += bits / 8;
    out = writeCharacter(text, out + bits / 8);
  }
  while (text != end) {
    if (static_cast<unsigned char>(*text) < 0x80) {
      *out++ = static_cast<unsigned char>(*text++);
    } else {
      out = writeCharacter(text, out);
    }
  }
  return out;
}

// For words of the command line: bytes that are no UTF-8 become U+FFFD.
inline std::u16string toUtf16(std::string_view text) { return utf8::utf8to16(utf8::replace_invalid(text)); }

}  // namespace arbtree::tool

#endif
