// What the content of an input may cost: limits that the command line sets, and the account of what has been spent.
#ifndef ARBTREE_TOOL_CONTENT_LIMITS_H
#define ARBTREE_TOOL_CONTENT_LIMITS_H

#include <cstdint>
#include <string>

#include "byte_source.h"
#include "interrupt.h"

namespace arbtree::tool {

struct Limits {
  static constexpr std::uint64_t kMebi = std::uint64_t{1024} * 1024;

  std::uint64_t maxBytes = 1024 * 1024 * kMebi;  // unpacked, at all levels together
  std::uint64_t maxMembers = 10'000'000;         // of all archives together
  std::uint32_t maxNesting = 16;                 // of archives
  std::uint32_t maxRatio = 200;                  // of bytes unpacked to bytes read, once they are more than
  std::uint64_t ratioThreshold = 64 * kMebi;
  std::uint64_t maxDepth = 100000;       // of elements
  std::uint64_t maxNames = 250'000;      // of elements and their attributes, in all XML together
  std::uint32_t maxAmplification = 100;  // of XML by entities, once it is more than
  std::uint64_t amplificationThreshold = 8 * kMebi;
  // Bytes of nodes and text made before they are consumed. Smaller than the library's own default, so that a chunk
  // stays in a core's own cache between its making and its freeing (measured: a tenth off a whole `stats` run).
  std::uint32_t chunkBytes = 32 * 1024;
};

// Counts what is unpacked. Once a limit is passed, problem() says which one and all further spending is refused; so it
// is once the program is interrupted, as the end may be far away although all input is read.
class Budget {
 public:
  Budget(const Limits& limits, const ByteSource& input) : limits_(limits), input_(input) {}

  bool spendBytes(std::uint64_t count) {
    bytes_ += count;
    return isWithin() && checkBytes();
  }
  bool spendMember();

  const Limits& limits() const { return limits_; }
  std::uint64_t bytes() const { return bytes_; }
  std::uint64_t members() const { return members_; }
  bool isWithin() const { return problem_.empty() && !isInterrupted(); }
  std::string problem() const { return problem_.empty() && isInterrupted() ? "interrupted" : problem_; }

 private:
  bool checkBytes();

  const Limits& limits_;
  const ByteSource& input_;
  std::uint64_t bytes_ = 0;
  std::uint64_t members_ = 0;
  std::string problem_;
};

}  // namespace arbtree::tool

#endif
