// Feeding iconv piece by piece.
#include "transcoder.h"

#include <array>
#include <cerrno>

namespace arbtree::tool {

std::unique_ptr<Transcoder> Transcoder::open(const std::string& encoding) {
  const iconv_t converter = iconv_open("UTF-8", encoding.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) return nullptr;
  return std::unique_ptr<Transcoder>(new Transcoder(converter));
}

bool Transcoder::append(std::string_view bytes, std::string& out) {
  waiting_.append(bytes);
  char* next = waiting_.data();
  std::size_t left = waiting_.size();
  int problem = E2BIG;
  while (problem == E2BIG) {
    std::array<char, 4096> piece;
    char* pieceEnd = piece.data();
    std::size_t room = piece.size();
    problem = iconv(converter_, &next, &left, &pieceEnd, &room) == static_cast<std::size_t>(-1) ? errno : 0;
    out.append(piece.data(), pieceEnd);
  }
  waiting_.erase(0, waiting_.size() - left);
  return problem != EILSEQ;
}

}  // namespace arbtree::tool
