// Gathers the character data between two tags, which expat hands over in pieces of its own choosing, into text of at
// most kMaxUnits. Nothing longer is ever held; a piece never ends inside a surrogate pair.
#ifndef ARBTREE_TOOL_TEXT_COLLECTOR_H
#define ARBTREE_TOOL_TEXT_COLLECTOR_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "utf.h"

namespace arbtree::tool {

class TextCollector {
 public:
  static constexpr std::size_t kMaxUnits = std::size_t{16} * 1024;

  // Takes what fits of some valid UTF-8 and answers how many bytes that was. Less than all of it: the text is full, and
  // goes on after a clear().
  std::size_t append(const char* text, std::size_t length) {
    const std::size_t taken = fitting(text, length);
    used_ = static_cast<std::size_t>(writeUtf16(text, taken, units_ + used_) - units_);
    return taken;
  }

  // Likewise, but only notes how long the text is: its units must not be read.
  std::size_t measure(const char* text, std::size_t length) {
    const std::size_t taken = fitting(text, length);
    for (std::size_t i = 0; i < taken; ++i) {
      const auto byte = static_cast<unsigned char>(text[i]);
      used_ += static_cast<std::size_t>((byte & 0xC0) != 0x80) + static_cast<std::size_t>(byte >= 0xF0);
    }
    return taken;
  }

  bool isEmpty() const { return used_ == 0; }
  const char16_t* units() const { return units_; }
  std::uint32_t length() const { return static_cast<std::uint32_t>(used_); }
  void clear() { used_ = 0; }

 private:
  // How many bytes fit: of UTF-8 one never makes more than one unit, and characters are not cut.
  std::size_t fitting(const char* text, std::size_t length) const {
    std::size_t taken = std::min(length, kMaxUnits - used_);
    if (taken < length) {
      while (taken != 0 && (text[taken] & 0xC0) == 0x80) --taken;
    }
    return taken;
  }

  char16_t units_[kMaxUnits + kUtf16Slack];
  std::size_t used_ = 0;
};

}  // namespace arbtree::tool

#endif
