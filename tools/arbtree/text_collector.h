// Gathers the character data between two tags, which expat hands over in pieces of its own choosing, into text of at
// most kMaxBytes of UTF-8. Nothing longer is ever held; a piece never ends inside a character.
#ifndef ARBTREE_TOOL_TEXT_COLLECTOR_H
#define ARBTREE_TOOL_TEXT_COLLECTOR_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "utf.h"

namespace arbtree::tool {

class TextCollector {
 public:
  static constexpr std::size_t kMaxBytes = std::size_t{16} * 1024;

  // Takes what fits of some valid UTF-8 and answers how many bytes that was. Less than all of it: the text is full, and
  // goes on after a clear().
  std::size_t append(const char* text, std::size_t length) {
    const std::size_t taken = note(text, length);
    length_ = static_cast<std::size_t>(writeUtf16(text, taken, units_ + length_) - units_);
    return taken;
  }

  // Likewise, but only notes that there is such text: its units must not be read.
  std::size_t note(const char* text, std::size_t length) {
    std::size_t taken = std::min(length, kMaxBytes - bytes_);
    if (taken < length) {
      while (taken != 0 && (text[taken] & 0xC0) == 0x80) --taken;
    }
    bytes_ += taken;
    return taken;
  }

  // Likewise, but takes all of it or nothing, and tells which.
  bool noteAll(std::size_t length) {
    if (length > kMaxBytes - bytes_) return false;
    bytes_ += length;
    return true;
  }

  bool isEmpty() const { return bytes_ == 0; }
  const char16_t* units() const { return units_; }
  std::uint32_t length() const { return static_cast<std::uint32_t>(length_); }
  void clear() { bytes_ = length_ = 0; }

 private:
  char16_t units_[kMaxBytes + kUtf16Slack];  // of UTF-8 a byte never makes more than one unit
  std::size_t bytes_ = 0;
  std::size_t length_ = 0;
};

}  // namespace arbtree::tool

#endif
