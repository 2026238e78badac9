// Turns input in an encoding that expat does not know into UTF-8, with the C library's tables.
#ifndef ARBTREE_TOOL_TRANSCODER_H
#define ARBTREE_TOOL_TRANSCODER_H

#include <iconv.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace arbtree::tool {

class Transcoder {
 public:
  // Null when the C library does not know the encoding either.
  static std::unique_ptr<Transcoder> open(const std::string& encoding);
  ~Transcoder() { iconv_close(converter_); }
  Transcoder(const Transcoder&) = delete;
  Transcoder& operator=(const Transcoder&) = delete;

  // Appends the next bytes of the input to `out` as UTF-8, but for a character that they only begin: it waits for the
  // rest. False, after all that came before, when the bytes are no text in this encoding.
  bool append(std::string_view bytes, std::string& out);
  // At the end of the input: false when it ends inside a character.
  bool isComplete() const { return waiting_.empty(); }

 private:
  explicit Transcoder(iconv_t converter) : converter_(converter) {}

  const iconv_t converter_;
  std::string waiting_;  // the beginning of a character
};

}  // namespace arbtree::tool

#endif
