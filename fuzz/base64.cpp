// Decoding text that may be anything, and values of encoded-bytes nodes: what is stored can be had back, in every
// encoding and with all flags, and a node can be given its own value. First an encoding, flags and a capacity, then
// the bytes.
#include "one_tree.h"

namespace arbtree::fuzz {
namespace {

// The plainest decoder: six bits at a time, a byte as soon as there are eight.
Bytes plainlyDecoded(const std::u16string& text) {
  static const std::u16string alphabet = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  Bytes bytes;
  std::uint32_t bits = 0, count = 0;
  for (const char16_t unit : text) {
    const std::size_t digit = alphabet.find(unit);
    if (digit == std::u16string::npos) continue;
    bits = (bits << 6 | static_cast<std::uint32_t>(digit)) & 0xFFFF;
    if ((count += 6) >= 8) bytes.push_back(static_cast<std::uint8_t>(bits >> (count -= 8)));
  }
  return bytes;
}

void checkDecoding(const std::u16string& text, std::uint32_t capacity) {
  const Bytes expected = plainlyDecoded(text);
  Bytes bytes(capacity);
  const auto length = static_cast<std::uint32_t>(text.size());
  const std::uint32_t count = DecodeBase64(text.data(), length, bytes.data(), capacity);
  const bool fits = text.empty() || expected.size() < capacity;
  require(count == (fits ? expected.size() : 0xFFFFFFFF), "the number of decoded bytes");
  bytes.resize(std::min(bytes.size(), expected.size()));
  require(std::equal(bytes.begin(), bytes.end(), expected.begin()), "the decoded bytes");
}

// The bytes that an encoded-bytes node's value stands for.
Bytes bytesOf(const ArbEncodedBytesNode& node) {
  const auto* const raw = reinterpret_cast<const std::uint8_t*>(node.text);
  if (node.encoding == ARB_ENCODING_BASE64) return plainlyDecoded({node.text, node.textLength});
  return {raw, raw + std::size_t{node.textLength} * (node.encoding == ARB_ENCODING_RAW8 ? 1 : 2)};
}

void checkValue(Bytes bytes, std::uint32_t encoding, std::uint32_t flags) {
  OneTree tree;
  ArbNode* const node = tree.make(ARB_ELEM_ENCODED_BYTES);
  const auto& value = *reinterpret_cast<const ArbEncodedBytesNode*>(node);
  auto count = static_cast<std::uint32_t>(bytes.size());
  const ArbStatus status = ArbEncodedBytesNodeSetValueEx(node, bytes.data(), count, 7, encoding, flags);
  require(status == (bytes.empty() || encoding <= ARB_ENCODING_RAW8 ? ARB_OK : ARB_ERR_BADENCODING), "the status");
  if (status != ARB_OK || bytes.empty()) return require(!value.text && value.textLength == 0, "there is no value");

  constexpr std::uint32_t kSwapped = ARB_BYTES_SWAP_ORDER | ARB_BYTES_UNITS16;
  for (std::size_t i = 1; encoding == ARB_ENCODING_BASE64 && (flags & kSwapped) == kSwapped && i < count; i += 2) {
    std::swap(bytes[i - 1], bytes[i]);
  }
  if (encoding == ARB_ENCODING_UTF16) bytes.resize(count = count / 2 * 2);
  require(bytesOf(value) == bytes, "the value stands for the bytes given");
  if (encoding == ARB_ENCODING_BASE64) {
    const std::u16string text(value.text, value.textLength);
    const std::size_t groups = (bytes.size() + 2) / 3;
    require(text.size() == 4 * groups + groups / 16 && value.text[text.size()] == 0, "the length of base64 text");
    for (std::size_t i = 0; i < text.size(); ++i) require((text[i] == u'\n') == (i % 65 == 64), "where lines end");
    checkDecoding(text, count + 1);
  } else {
    ArbEncodedBytesNodeSetValueEx(node, value.text, count, 7, encoding, flags);
    require(bytesOf(value) == bytes, "a node can be given its own value");
  }
}

}  // namespace

std::vector<std::string> seeds() {
  std::vector<std::string> made;
  for (char choice = 0; choice < 4; ++choice) {
    made.push_back(std::string{choice, '\x22', '\x40'} + "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVphYmNk\nZWZn+/==");
    made.push_back(std::string{choice, '\x11', '\x06'} + std::string(100, 'x'));
  }
  return made;
}

}  // namespace arbtree::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace arbtree::fuzz;
  Input input(data, size);
  const std::uint32_t choice = input.byte(), flags = input.byte(), capacity = input.byte();
  const Bytes bytes = input.bytes();
  // Units beyond the alphabet too.
  const char16_t high = choice & 0x80 ? 0x100 : 0;
  std::u16string text(bytes.begin(), bytes.end());
  for (std::size_t i = 6; i < text.size(); i += 7) text[i] = static_cast<char16_t>(text[i] | high);
  checkDecoding(text, capacity);
  checkValue(bytes, choice % 4, flags);
  return 0;
}
