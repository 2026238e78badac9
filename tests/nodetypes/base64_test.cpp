// Base64 text against independent encoders and decoders: coreutils where there is one, and the plain bit string.
#include "nodetypes/base64.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "platform/heap.h"
#include "support/host.h"
#include "support/seed.h"
#include "support/temporary_folder.h"

namespace arbtree::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// All that the text gives: each group of four digits three bytes, and the last group one less than it has digits.
Bytes decodedPlainly(const std::u16string& text) {
  Bytes bytes;
  std::size_t last = 0;
  std::size_t place = 0;  // in the group
  for (const char16_t unit : text) {
    const std::size_t value = unit < 128 ? kAlphabet.find(static_cast<char>(unit)) : std::string::npos;
    if (value == std::string::npos) continue;
    if (place != 0) bytes.push_back(static_cast<std::uint8_t>((last << 6 | value) >> (6 - 2 * place)));
    last = value;
    place = (place + 1) % 4;
  }
  return bytes;
}

class Base64 : public TreeTest {
 protected:
  std::u16string encode(const Bytes& bytes) {
    const auto count = static_cast<std::uint32_t>(bytes.size());
    ok(ArbEncodedBytesNodeSetValue(node, bytes.data(), count, 0, ARB_ENCODING_BASE64));
    const char16_t* text = nullptr;
    std::uint32_t length = 0;
    ok(ArbAbstractTextNodeGetValue(node, &text, &length));
    if (!text) return {};
    EXPECT_EQ(0, text[length]);
    return {text, length};
  }
  static Bytes decode(const std::u16string& text) {
    Bytes bytes(text.size() + 1);
    const auto units = static_cast<std::uint32_t>(text.size());
    bytes.resize(DecodeBase64(text.data(), units, bytes.data(), static_cast<std::uint32_t>(bytes.size())));
    return bytes;
  }

  ArbNode* const node = host.append(root, "bytes", ARB_ELEM_ENCODED_BYTES);
  std::mt19937 random{testSeed()};
};

TEST_F(Base64, Examples) {
  const auto of = [&](const std::string& text) { return encode(Bytes(text.begin(), text.end())); };
  EXPECT_EQ(u"", of(""));
  EXPECT_EQ(u"YQ==", of("a"));
  EXPECT_EQ(u"YWI=", of("ab"));
  EXPECT_EQ(u"YWJj", of("abc"));
  EXPECT_EQ(std::u16string(64, u'A') + u"\n", of(std::string(48, '\0')));
  EXPECT_EQ(std::u16string(64, u'A') + u"\nAA==", of(std::string(49, '\0')));
}

#ifdef __linux__

// The output of a shell command.
std::string outputOf(const std::string& command) {
  std::string output;
  FILE* const pipe = popen(command.c_str(), "r");
  if (!pipe) return "no pipe";
  static char buffer[1 << 16];
  for (std::size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, got);
  EXPECT_EQ(0, pclose(pipe));
  return output;
}

// Every length up to a thousand, and a hundred megabytes.
TEST_F(Base64, AgreesWithCoreutils) {
  const TemporaryFolder folder;
  const std::string file = (folder.path / "bytes").string();
  for (std::size_t round = 0; round <= 1001; ++round) {
    SCOPED_TRACE(round);
    const std::size_t count = round <= 1000 ? round : 100'000'000;
    std::vector<std::uint32_t> words(count / 4 + 1);
    std::generate(words.begin(), words.end(), std::ref(random));
    const auto* const first = reinterpret_cast<const std::uint8_t*>(words.data());
    const Bytes bytes(first, first + count);
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    std::string expected = outputOf("exec base64 -w 64 '" + file + "'");
    if (expected.size() % 65 != 0) expected.pop_back();  // coreutils ends a last line that is not full too
    const std::u16string text = encode(bytes);
    ASSERT_EQ(expected.size(), text.size());
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), text.begin()));
    ASSERT_TRUE(bytes == decode(text));
  }
}

#endif

// Counts whose text does not fit in 32 bits are refused before a byte is read; the others when there is no memory.
TEST_F(Base64, HugeCountsAreAnsweredWithAStatus) {
  const std::uint8_t byte = 0;
  for (const std::uint32_t count :
       {0x12492493u, 0x7FFFFFFFu, 0x80000000u, 0xC0000000u, 0xFFFFFFFDu, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
    for (const std::uint32_t encoding : {ARB_ENCODING_UTF16, ARB_ENCODING_BASE64, ARB_ENCODING_RAW8}) {
      for (const std::uint32_t flags : {0u, ARB_BYTES_SWAP_ORDER | ARB_BYTES_UNITS16}) {
        encode({1, 2, 3});
        const std::uint64_t live = heap::testing::liveBlocks();
        const bool fits = encoding != ARB_ENCODING_BASE64 || count < 0xC0000000;
        if (fits) heap::testing::failAllocation(1, true);
        EXPECT_EQ(ARB_ERR_NOMEMORY, ArbEncodedBytesNodeSetValueEx(node, &byte, count, 5, encoding, flags)) << count;
        heap::testing::stopFailing();
        EXPECT_EQ(nullptr, reinterpret_cast<ArbEncodedBytesNode*>(node)->text);
        EXPECT_EQ(0u, reinterpret_cast<ArbEncodedBytesNode*>(node)->textLength);
        EXPECT_EQ(live - 1, heap::testing::liveBlocks());
      }
    }
  }
}

TEST_F(Base64, DecodingSkipsWhatIsNoDigit) {
  struct Row {
    std::u16string text;
    std::string bytes;
  };
  for (const Row& row : {Row{u"YWJj", "abc"}, Row{u"YW Jj\n", "abc"}, Row{u"YWJj====", "abc"}, Row{u"YW", "a"},
                         Row{u"YWI", "ab"}, Row{u"Y", ""}, Row{u"YWJjZ", "abc"}, Row{u"YQ==YWJj", "a\x06\x16&"},
                         Row{u"====", ""}, Row{u"", ""}, Row{u"Y\x0159W\xFF21J\x0080j", "abc"}, Row{u"-_@[`{", ""},
                         Row{std::u16string(u"Y\0W", 3), "a"}, Row{u"++//", "\xFB\xEF\xFF"}}) {
    EXPECT_EQ(Bytes(row.bytes.begin(), row.bytes.end()), decode(row.text)) << row.bytes;
  }
  EXPECT_EQ(0u, DecodeBase64(nullptr, 0, nullptr, 0));
}

// Texts of digits and others, and capacities on both sides of what they give.
TEST_F(Base64, DecodingAgreesWithTheGroupsWrittenOutAtEveryCapacity) {
  const std::u16string others = u"=\n \t-_.\x7F\x80\x0141\xFF41";
  for (int i = 0; i < 3000; ++i) {
    std::u16string text(random() % 40, u'\0');
    for (char16_t& unit : text) {
      unit = random() % 4 == 0 ? others[random() % others.size()] : static_cast<char16_t>(kAlphabet[random() % 64]);
    }
    const Bytes expected = decodedPlainly(text);
    for (std::uint32_t capacity = 0; capacity <= 32; ++capacity) {
      std::uint8_t buffer[33];
      std::fill(std::begin(buffer), std::end(buffer), std::uint8_t{0xEE});
      const auto stored = std::min<std::uint32_t>(capacity, static_cast<std::uint32_t>(expected.size()));
      const std::uint32_t result = stored < capacity || text.empty() ? stored : 0xFFFFFFFF;
      ASSERT_EQ(result, DecodeBase64(text.data(), static_cast<std::uint32_t>(text.size()), buffer, capacity));
      ASSERT_TRUE(std::equal(buffer, buffer + stored, expected.begin()));
      ASSERT_TRUE(std::all_of(buffer + capacity, std::end(buffer), [](std::uint8_t b) { return b == 0xEE; }));
    }
  }
}

}  // namespace
}  // namespace arbtree::test
