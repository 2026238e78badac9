// Feeds the bytes of an input to expat, block by block, and sees to what expat does not: surrogates that stand alone,
// and encodings that it does not know.
#ifndef ARBTREE_TOOL_PARSER_FEED_H
#define ARBTREE_TOOL_PARSER_FEED_H

#include <expat.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "byte_source.h"
#include "surrogate_check.h"
#include "transcoder.h"

namespace arbtree::tool {

class ParserFeed {
 public:
  ParserFeed(ByteSource& input, XML_Parser parser) : input_(input), parser_(parser) {}

  // Reads and parses the next block, and answers expat's result; or an error, with a problem(), when the input cannot
  // be read or is broken. Everything before the broken place has been parsed by then.
  XML_Status parseNext();
  // Whether the last block has gone to expat.
  bool isAtEnd() const { return atEnd_; }
  // Why the input itself failed; empty otherwise.
  const std::string& problem() const { return problem_; }

  // After expat has given up on an encoding that it does not know, which it does before it reports anything: whether
  // the input can be parsed once more from its beginning, by a reset parser and with parseAgain().
  bool canTranscode(const std::string& encoding);
  XML_Status parseAgain();

 private:
  std::size_t nextBlockBytes() const;
  std::optional<std::size_t> readBlock(char* buffer, std::size_t size);
  XML_Status parseTranscoded(std::string_view bytes);

  ByteSource& input_;
  const XML_Parser parser_;
  bool atEnd_ = false;
  std::uint64_t parsedBytes_ = 0;  // given to expat since it began
  std::string broken_;             // becomes the problem once everything before it is parsed
  std::string problem_;
  SurrogateCheck surrogates_;
  std::string beginning_;  // what has been read, up to a block
  std::unique_ptr<Transcoder> transcoder_;
  std::string encoding_;
  std::string transcoded_;
};

}  // namespace arbtree::tool

#endif
