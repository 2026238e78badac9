// Blocks of the input, as they are or transcoded.
#include "parser_feed.h"

#include <algorithm>

namespace arbtree::tool {
namespace {

constexpr std::size_t kReadBytes = std::size_t{64} * 1024;
constexpr std::size_t kMostBytes = 1024 * kReadBytes;

}  // namespace

// Some releases of expat scan a token that is not complete from its beginning whenever bytes are added, so a long one
// gets as many bytes again as it has.
std::size_t ParserFeed::nextBlockBytes() const {
  const XML_Index at = XML_GetCurrentByteIndex(parser_);
  const std::uint64_t unfinished = at < 0 ? 0 : parsedBytes_ - static_cast<std::uint64_t>(at);
  return std::clamp<std::uint64_t>(unfinished, kReadBytes, kMostBytes);
}

// One read, or as many as a larger block takes. What comes before a failure or the end is a block of its own.
std::optional<std::size_t> ParserFeed::readBlock(char* buffer, std::size_t size) {
  std::optional<std::size_t> count = input_.read(buffer, std::min(size, kReadBytes));
  std::size_t filled = count.value_or(0);
  while (size > kReadBytes && filled != size && count.value_or(0) != 0) {
    count = input_.read(buffer + filled, std::min(size - filled, kReadBytes));
    filled += count.value_or(0);
  }
  return filled != 0 ? filled : count;
}

XML_Status ParserFeed::parseNext() {
  if (!broken_.empty()) {
    problem_ = broken_;
    return XML_STATUS_ERROR;
  }
  const std::size_t size = nextBlockBytes();
  auto* const buffer = static_cast<char*>(XML_GetBuffer(parser_, static_cast<int>(size)));
  if (!buffer) return XML_STATUS_ERROR;
  const std::optional<std::size_t> count = readBlock(buffer, size);
  if (!count) {
    problem_ = input_.error();
    return XML_STATUS_ERROR;
  }
  atEnd_ = *count == 0;
  const std::string_view bytes(buffer, *count);
  if (transcoder_) return parseTranscoded(bytes);
  if (input_.bytesRead() <= kReadBytes) beginning_.append(bytes);
  const std::size_t good = surrogates_.accept(bytes);
  if (good != bytes.size()) broken_ = "not well-formed (half of a surrogate pair stands alone)";
  parsedBytes_ += good;
  return XML_ParseBuffer(parser_, static_cast<int>(good), atEnd_);
}

bool ParserFeed::canTranscode(const std::string& encoding) {
  if (transcoder_ || input_.bytesRead() > kReadBytes) return false;
  encoding_ = encoding;
  transcoder_ = Transcoder::open(encoding);
  return transcoder_ != nullptr;
}

XML_Status ParserFeed::parseAgain() {
  parsedBytes_ = 0;
  return parseTranscoded(beginning_);
}

XML_Status ParserFeed::parseTranscoded(std::string_view bytes) {
  transcoded_.clear();
  if (!transcoder_->append(bytes, transcoded_) || (atEnd_ && !transcoder_->isComplete())) {
    broken_ = "not well-formed (bytes that are no text in encoding " + encoding_ + ")";
    atEnd_ = false;
  }
  parsedBytes_ += transcoded_.size();
  return XML_Parse(parser_, transcoded_.data(), static_cast<int>(transcoded_.size()), atEnd_);
}

}  // namespace arbtree::tool
