// Blocks of the input, as they are or transcoded.
#include "parser_feed.h"

namespace arbtree::tool {
namespace {

constexpr std::size_t kReadBytes = std::size_t{64} * 1024;

}  // namespace

XML_Status ParserFeed::parseNext() {
  if (!broken_.empty()) {
    problem_ = broken_;
    return XML_STATUS_ERROR;
  }
  void* const buffer = XML_GetBuffer(parser_, kReadBytes);
  if (!buffer) return XML_STATUS_ERROR;
  const std::optional<std::size_t> count = input_.read(buffer, kReadBytes);
  if (!count) {
    problem_ = input_.error();
    return XML_STATUS_ERROR;
  }
  atEnd_ = *count == 0;
  const std::string_view bytes(static_cast<const char*>(buffer), *count);
  if (transcoder_) return parseTranscoded(bytes);
  if (input_.bytesRead() <= kReadBytes) beginning_.append(bytes);
  const std::size_t good = surrogates_.accept(bytes);
  if (good != bytes.size()) broken_ = "not well-formed (half of a surrogate pair stands alone)";
  return XML_ParseBuffer(parser_, static_cast<int>(good), atEnd_);
}

bool ParserFeed::canTranscode(const std::string& encoding) {
  if (transcoder_ || input_.bytesRead() > kReadBytes) return false;
  encoding_ = encoding;
  transcoder_ = Transcoder::open(encoding);
  return transcoder_ != nullptr;
}

XML_Status ParserFeed::parseAgain() { return parseTranscoded(beginning_); }

XML_Status ParserFeed::parseTranscoded(std::string_view bytes) {
  transcoded_.clear();
  if (!transcoder_->append(bytes, transcoded_) || (atEnd_ && !transcoder_->isComplete())) {
    broken_ = "not well-formed (bytes that are no text in encoding " + encoding_ + ")";
    atEnd_ = false;
  }
  return XML_Parse(parser_, transcoded_.data(), static_cast<int>(transcoded_.size()), atEnd_);
}

}  // namespace arbtree::tool
