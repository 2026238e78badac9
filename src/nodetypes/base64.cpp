#include "nodetypes/base64.h"

#include <algorithm>
#include <iterator>

#include "arbtree/arbtree.h"

namespace arbtree::base64 {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint32_t kGroupsPerLine = 16;
constexpr std::uint8_t kNoDigit = 0xFF;

struct DigitTable {
  std::uint8_t value[128];
};

constexpr DigitTable makeDigits() {
  DigitTable table = {};
  std::fill(std::begin(table.value), std::end(table.value), kNoDigit);
  for (std::uint8_t i = 0; i < 64; ++i) table.value[static_cast<unsigned char>(kAlphabet[i])] = i;
  return table;
}

constexpr DigitTable kDigits = makeDigits();

char16_t digit(std::uint32_t value) { return static_cast<char16_t>(kAlphabet[value & 63]); }

// Up to three bytes as four units; missing bytes count as zero and show as "=".
void encodeGroup(const std::uint8_t* bytes, std::uint32_t count, char16_t* text) {
  const std::uint32_t second = count > 1 ? bytes[1] : 0;
  const std::uint32_t third = count > 2 ? bytes[2] : 0;
  const std::uint32_t bits = std::uint32_t{bytes[0]} << 16 | second << 8 | third;
  text[0] = digit(bits >> 18);
  text[1] = digit(bits >> 12);
  text[2] = count > 1 ? digit(bits >> 6) : u'=';
  text[3] = count > 2 ? digit(bits) : u'=';
}

// Takes bytes as long as there is room, and counts them all.
class ByteWriter {
 public:
  ByteWriter(std::uint8_t* bytes, std::uint32_t capacity) : bytes_(bytes), capacity_(capacity) {}
  void put(std::uint32_t byte) {
    if (count_ < capacity_) bytes_[count_] = static_cast<std::uint8_t>(byte);
    ++count_;
  }
  bool full() const { return count_ >= capacity_; }
  std::uint32_t count() const { return count_; }

 private:
  std::uint8_t* bytes_;
  std::uint32_t capacity_;
  std::uint32_t count_ = 0;
};

// Gathers the next group of up to four digits into `bits`, six bits each from the left; gives their number.
std::uint32_t gather(const char16_t*& text, const char16_t* end, std::uint32_t& bits) {
  std::uint32_t count = 0;
  bits = 0;
  for (; text != end && count < 4; ++text) {
    if (*text >= 128 || kDigits.value[*text] == kNoDigit) continue;
    bits |= std::uint32_t{kDigits.value[*text]} << (18 - 6 * count++);
  }
  return count;
}

std::uint32_t decode(const char16_t* text, std::uint32_t length, std::uint8_t* bytes, std::uint32_t capacity) {
  constexpr std::uint32_t kTooSmall = 0xFFFFFFFF;
  const char16_t* const end = text + length;
  ByteWriter out(bytes, capacity);
  while (text != end) {
    std::uint32_t bits;
    const std::uint32_t digits = gather(text, end, bits);
    if (digits > 1) out.put(bits >> 16 & 0xFF);
    if (digits > 2) out.put(bits >> 8 & 0xFF);
    if (digits > 3) out.put(bits & 0xFF);
    if (out.full()) return kTooSmall;
  }
  return out.count();
}

}  // namespace

std::uint64_t capacityFor(std::uint32_t byteCount) { return std::uint64_t{byteCount} * 14 / 10 / 32 * 32 + 34; }

std::uint64_t encodedLength(std::uint32_t byteCount) {
  const std::uint64_t groups = (std::uint64_t{byteCount} + 2) / 3;
  return 4 * groups + groups / kGroupsPerLine;
}

void encode(const std::uint8_t* bytes, std::uint32_t byteCount, char16_t* text) {
  std::uint32_t groupsInLine = 0;
  while (byteCount > 0) {
    const std::uint32_t count = std::min<std::uint32_t>(byteCount, 3);
    encodeGroup(bytes, count, text);
    text += 4;
    bytes += count;
    byteCount -= count;
    if (++groupsInLine == kGroupsPerLine) {
      *text++ = u'\n';
      groupsInLine = 0;
    }
  }
  *text = 0;
}

}  // namespace arbtree::base64

uint32_t ARB_CALL DecodeBase64(const char16_t* text, uint32_t textLength, void* bytes, uint32_t capacity) {
  if (textLength == 0 || !text || (!bytes && capacity != 0)) return 0;
  return arbtree::base64::decode(text, textLength, static_cast<std::uint8_t*>(bytes), capacity);
}
