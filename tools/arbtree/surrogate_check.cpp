// Telling UTF-16 by its first two bytes, as expat does, and pairing its surrogates.
#include "surrogate_check.h"

namespace arbtree::tool {

std::size_t SurrogateCheck::accept(std::string_view bytes) {
  for (std::size_t i = 0; i < bytes.size() && form_ != Form::other; ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if (!haveFirst_) {
      first_ = byte;
      haveFirst_ = true;
      continue;
    }
    haveFirst_ = false;
    if (form_ == Form::unknown) recognise(byte);
    if (form_ != Form::other && !completeUnit(byte)) return i == 0 ? 0 : i - 1;
  }
  return bytes.size();
}

void SurrogateCheck::recognise(unsigned char second) {
  if ((first_ == 0xFE && second == 0xFF) || first_ == 0) {
    form_ = Form::bigEndian;
  } else if ((first_ == 0xFF && second == 0xFE) || second == 0) {
    form_ = Form::littleEndian;
  } else {
    form_ = Form::other;
  }
}

bool SurrogateCheck::completeUnit(unsigned char second) {
  const unsigned high = (form_ == Form::bigEndian ? first_ : second) & 0xFCu;
  const bool isTrail = high == 0xDC;
  if (isTrail != needTrail_) return false;
  needTrail_ = high == 0xD8;
  return true;
}

}  // namespace arbtree::tool
