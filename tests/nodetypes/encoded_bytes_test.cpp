// Values of encoded-bytes nodes: encodings, flags, what is stored beside the text, and what failures leave.
#include <cstring>
#include <string>

#include "platform/heap.h"
#include "support/host.h"

namespace arbtree::test {
namespace {

class EncodedBytes : public TreeTest {
 protected:
  ArbStatus set(const std::string& bytes, std::uint32_t encoding, std::uint32_t flags, std::uint32_t info = 0) {
    const auto count = static_cast<std::uint32_t>(bytes.size());
    return ArbEncodedBytesNodeSetValueEx(node, bytes.data(), count, info, encoding, flags);
  }

  ArbNode* const node = host.append(root, "bytes", ARB_ELEM_ENCODED_BYTES);
  const ArbEncodedBytesNode& record = *reinterpret_cast<ArbEncodedBytesNode*>(node);
};

TEST_F(EncodedBytes, FlagsAreCompletedAndOthersKept) {
  struct Row {
    std::uint32_t given, kept;
  };
  for (const Row& row :
       {Row{0, 0x11}, Row{0x02, 0x12}, Row{0x40, 0x41}, Row{0x60, 0x61}, Row{0x20, 0x21}, Row{0x22, 0x22},
        Row{0x03, 0x13}, Row{0x10, 0x11}, Row{0x30, 0x31}, Row{0x80000004, 0x80000015}}) {
    for (const char* const bytes : {"", "ab"}) {
      ok(set(bytes, ARB_ENCODING_RAW8, row.given));
      EXPECT_EQ(row.kept, record.encodingFlags) << row.given;
      EXPECT_EQ(ARB_ENCODING_RAW8, record.encoding);
    }
  }
  ok(ArbEncodedBytesNodeSetValue(node, "ab", 2, 5, ARB_ENCODING_UTF16));
  EXPECT_EQ(0x11u, record.encodingFlags);
  std::uint32_t info = 99, encoding = 98;
  ok(ArbEncodedBytesNodeGetValue(node, nullptr, nullptr, nullptr, &encoding));
  ok(ArbEncodedBytesNodeGetValue(node, nullptr, nullptr, &info, nullptr));
  EXPECT_EQ(5u, info);
  EXPECT_EQ(ARB_ENCODING_UTF16, encoding);
}

TEST_F(EncodedBytes, UnitsAndRawBytes) {
  for (const std::uint32_t flags : {0u, 0x22u}) {
    for (std::size_t count = 1; count <= 9; ++count) {
      const std::string bytes = std::string("\x01\x02\x03\0\x05\x06\x07\x08\x09", 9).substr(0, count);
      SCOPED_TRACE(count);
      ok(set(bytes, ARB_ENCODING_UTF16, flags));
      ASSERT_NE(nullptr, record.text);
      EXPECT_EQ(count / 2, record.textLength);
      EXPECT_EQ(0, std::memcmp(record.text, bytes.data(), count / 2 * 2));
      EXPECT_EQ(0, record.text[count / 2]);
      ok(set(bytes, ARB_ENCODING_RAW8, flags));
      EXPECT_EQ(count, record.textLength);
      EXPECT_EQ(0, std::memcmp(record.text, bytes.c_str(), count + 1)) << "a zero byte ends it";
    }
  }
}

// Pairs of bytes change places for base64 with both flags only; a byte without a partner stays.
TEST_F(EncodedBytes, SwappedPairs) {
  struct Row {
    std::uint32_t flags;
    std::string bytes;
    std::u16string text;
  };
  for (const Row& row : {Row{0x22, "\x01\x02\x03\x04", u"AgEEAw=="}, Row{0x20, "\x01\x02\x03\x04", u"AQIDBA=="},
                         Row{0x02, "\x01\x02\x03\x04", u"AQIDBA=="}, Row{0x62, "\x01\x02\x03\x04", u"AgEEAw=="},
                         Row{0x23, "\x01\x02\x03\x04", u"AgEEAw=="}, Row{0x22, "\x01\x02\x03", u"AgED"},
                         Row{0x22, "\x01", u"AQ=="}, Row{0x22, "\x01\x02", u"AgE="}}) {
    const std::string given = row.bytes;
    const std::uint64_t live = heap::testing::liveBlocks() + (record.text ? 0 : 1);
    ok(set(given, ARB_ENCODING_BASE64, row.flags));
    EXPECT_EQ(row.text, std::u16string(record.text, record.textLength)) << row.flags;
    EXPECT_EQ(row.bytes, given) << "the caller's bytes stay";
    EXPECT_EQ(live, heap::testing::liveBlocks());
  }
}

TEST_F(EncodedBytes, OtherKindsAreLeftAlone) {
  ArbNode* const text = host.appendText(root, u"kept");
  for (ArbNode* const other : {text, root, host.append(root, "e")}) {
    std::uint32_t info = 99;
    std::uint32_t encoding = 98;
    ok(ArbEncodedBytesNodeSetValue(other, "ab", 2, 3, 1));
    ok(ArbEncodedBytesNodeSetValueEx(other, "ab", 2, 3, 99, 0));
    ok(ArbEncodedBytesNodeSetValueEx(other, nullptr, 2, 3, 0, 0));
    ok(ArbEncodedBytesNodeGetValue(other, nullptr, nullptr, &info, &encoding));
    EXPECT_EQ(99u, info);
    EXPECT_EQ(98u, encoding);
  }
  EXPECT_EQ(std::u16string(u"kept"), reinterpret_cast<ArbTextNode*>(text)->text);
}

TEST_F(EncodedBytes, WhatFailuresLeave) {
  const std::uint64_t empty = heap::testing::liveBlocks();
  for (const std::uint32_t encoding : {3u, 0x100u, 0xFFFFFFFFu}) {
    ok(set("old", ARB_ENCODING_RAW8, 0, 1));
    EXPECT_EQ(ARB_ERR_BADARG, ArbEncodedBytesNodeSetValueEx(node, nullptr, 1, 2, ARB_ENCODING_BASE64, 0x22));
    EXPECT_EQ(3u, record.textLength) << "a refused call changes nothing";
    EXPECT_EQ(1u, record.info);
    EXPECT_EQ(ARB_ENCODING_RAW8, record.encoding);
    EXPECT_EQ(ARB_ERR_BADENCODING, set("new", encoding, 0x22, 7));
    EXPECT_EQ(nullptr, record.text);
    EXPECT_EQ(0u, record.textLength);
    EXPECT_EQ(encoding, record.encoding);
    EXPECT_EQ(0x22u, record.encodingFlags);
    EXPECT_EQ(7u, record.info);
    EXPECT_EQ(empty, heap::testing::liveBlocks());
    ok(set("old", ARB_ENCODING_RAW8, 0));
    EXPECT_EQ(ARB_OK, set("", encoding, 0)) << "without bytes no encoding is looked at";
    EXPECT_EQ(nullptr, record.text);
    EXPECT_EQ(empty, heap::testing::liveBlocks());
  }
}

}  // namespace
}  // namespace arbtree::test
