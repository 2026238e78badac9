// UTF-16 text to UTF-8, for the calls of platforms whose file names are bytes.
#ifndef ARBTREE_STANDINS_COMMON_UTF16_H
#define ARBTREE_STANDINS_COMMON_UTF16_H

#include <string>
#include <string_view>

namespace arbtree::standins {

// Appends text to *utf8; false, with *utf8 in any state, when a surrogate stands alone. May throw std::bad_alloc.
inline bool appendUtf8(std::u16string_view text, std::string* utf8) {
  const auto put = [utf8](char32_t byte) { utf8->push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t point = text[i];
    if (point >= 0xD800 && point < 0xE000) {
      const bool paired = point < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
      if (!paired) return false;
      point = 0x10000 + ((point - 0xD800) << 10) + (text[++i] - 0xDC00u);
    }
    if (point < 0x80) {
      put(point);
    } else if (point < 0x800) {
      put(0xC0 | point >> 6);
      put(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
      put(0xE0 | point >> 12);
      put(0x80 | (point >> 6 & 0x3F));
      put(0x80 | (point & 0x3F));
    } else {
      put(0xF0 | point >> 18);
      put(0x80 | (point >> 12 & 0x3F));
      put(0x80 | (point >> 6 & 0x3F));
      put(0x80 | (point & 0x3F));
    }
  }
  return true;
}

}  // namespace arbtree::standins

#endif
