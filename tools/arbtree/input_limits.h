// What an input may cost, so that a small one that unpacks to a huge one is stopped. Each limit has an option that its
// message names.
#ifndef ARBTREE_TOOL_INPUT_LIMITS_H
#define ARBTREE_TOOL_INPUT_LIMITS_H

#include <cstdint>
#include <string>

namespace arbtree::tool {

struct Limits {
  std::uint64_t maxBytes = std::uint64_t{1} << 44;  // unpacked, at all levels together
  std::uint64_t maxMembers = 10'000'000;
  std::uint64_t maxNesting = 16;         // archives within archives
  std::uint64_t maxRatio = 2000;         // unpacked to read, once kRatioFrom bytes are unpacked
  std::uint64_t maxDepth = 100'000;      // of elements
  std::uint64_t maxAmplification = 100;  // of entities: what they expand to, to what was read

  static constexpr std::uint64_t kRatioFrom = std::uint64_t{64} * 1024 * 1024;
};

// What has been used so far. The first limit that is reached counts.
class Spending {
 public:
  explicit Spending(const Limits& limits) : limits_(limits) {}

  // Each answers whether the input may go on.
  bool addBytes(std::uint64_t count, std::uint64_t bytesRead) {
    bytes_ += count;
    if (bytes_ > limits_.maxBytes)
      return reach("more than " + number(limits_.maxBytes) + " bytes unpacked (see --max-bytes)");
    if (bytes_ > Limits::kRatioFrom && bytes_ / limits_.maxRatio > bytesRead) {
      return reach("unpacks to more than " + number(limits_.maxRatio) + " times its size (see --max-ratio)");
    }
    return true;
  }
  bool addMember() {
    if (++members_ <= limits_.maxMembers) return true;
    return reach("more than " + number(limits_.maxMembers) + " members (see --max-members)");
  }
  bool enter(std::uint64_t nesting) {
    if (nesting <= limits_.maxNesting) return true;
    return reach("archives are nested more than " + number(limits_.maxNesting) + " deep (see --max-nesting)");
  }
  // Notes a limit that was reached elsewhere.
  bool reach(std::string message) {
    if (message_.empty()) message_ = std::move(message);
    return false;
  }

  bool isOver() const { return !message_.empty(); }
  const std::string& message() const { return message_; }
  const Limits& limits() const { return limits_; }

 private:
  static std::string number(std::uint64_t value) { return std::to_string(value); }

  const Limits limits_;
  std::uint64_t bytes_ = 0;
  std::uint64_t members_ = 0;
  std::string message_;
};

}  // namespace arbtree::tool

#endif
