// The six built-in kinds: their records, text values, and the operations of their descriptors with the stream form.
#include <cstring>
#include <string>
#include <vector>

#include "platform/heap.h"
#include "support/host.h"
#include "support/standins.h"

namespace arbtree::test {
namespace {

using namespace std::string_literals;

class BuiltinKinds : public TreeTest {
 protected:
  BuiltinKinds() { host.end(); }
  ArbNode* text(const std::u16string& value, std::uint32_t id = ARB_ELEM_TEXT) {
    return host.appendText(root, value, id);
  }
  static std::u16string valueOf(ArbNode* node) {
    const char16_t* value = nullptr;
    std::uint32_t length = 99;
    ok(ArbAbstractTextNodeGetValue(node, &value, &length));
    if (!value) {
      EXPECT_EQ(0u, length);
      return u"(none)";
    }
    EXPECT_EQ(0, value[length]);
    return {value, length};
  }
};

TEST_F(BuiltinKinds, TextValues) {
  for (const std::uint32_t id : {ARB_ELEM_TEXT, ARB_ELEM_TEXT_3, ARB_ELEM_TEXT_4, ARB_ELEM_ENCODED_BYTES}) {
    SCOPED_TRACE(id);
    ArbNode* const node = host.append(root, "n", id);
    EXPECT_EQ(u"(none)", valueOf(node));
    const std::uint64_t live = heap::testing::liveBlocks();
    for (const std::u16string& value : {u"a"s, u"abc"s, u"a longer value than before"s, u"\0\0\0"s, u"b"s}) {
      ok(ArbAbstractTextNodeSetValue(node, value.data(), static_cast<std::uint32_t>(value.size())));
      EXPECT_EQ(value, valueOf(node));
      EXPECT_EQ(live + 1, heap::testing::liveBlocks());
    }
    ok(ArbAbstractTextNodeSetValue(node, u"0123456789", 4));
    EXPECT_EQ(u"0123", valueOf(node)) << "the length counts, not a terminator";
    const char16_t* own = nullptr;
    ok(ArbAbstractTextNodeGetValue(node, &own, nullptr));
    ok(ArbAbstractTextNodeSetValue(node, own + 1, 2));
    EXPECT_EQ(u"12", valueOf(node)) << "from its own middle";
    ok(ArbAbstractTextNodeSetValue(node, u"x", 0));
    EXPECT_EQ(u"(none)", valueOf(node));
    EXPECT_EQ(live, heap::testing::liveBlocks());

    // Byte counts beyond 32 bits.
    for (const std::uint32_t length : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
      if (sizeof(std::size_t) > 4) break;
      EXPECT_EQ(ARB_ERR_NOMEMORY, ArbAbstractTextNodeSetValue(node, u"short", length));
    }
  }
  for (ArbNode* const node : {root, host.append(root, "n", ARB_ELEM_EXTERNAL_REFERENCE), host.append(root, "n")}) {
    const char16_t* value = u"untouched";
    std::uint32_t length = 99;
    EXPECT_EQ(ARB_ERR_BADARG, ArbAbstractTextNodeGetValue(node, &value, &length));
    EXPECT_EQ(99u, length);
    EXPECT_EQ(std::u16string(u"untouched"), value);
    EXPECT_EQ(ARB_ERR_BADARG, ArbAbstractTextNodeSetValue(node, u"x", 1));
  }
}

// The hash as the words and bytes of a value, written out by hand.
TEST_F(BuiltinKinds, TextOperations) {
  struct Row {
    std::u16string value;
    std::uint32_t hash;
  };
  for (const Row& row : {Row{u"", 0}, Row{u"a", 1u ^ 0x61}, Row{u"\x1234", 1u ^ 0x34 ^ 0x12},
                         Row{u"ab", 2u ^ 0x00620061}, Row{u"abc", 3u ^ 0x00620061 ^ 0x63},
                         Row{u"ab\x1234", 3u ^ 0x00620061 ^ 0x34 ^ 0x12}, Row{u"abcd", 4u ^ 0x00620061 ^ 0x00640063}}) {
    ArbNode* const node = text(row.value);
    const ArbNodeType& type = *node->nodeType;
    EXPECT_EQ(row.hash, type.hash(node));
    EXPECT_EQ(row.value.empty() ? 0u : 1u, type.hasAttribute(node, 0));
    EXPECT_EQ(0u, type.hasAttribute(node, 1));
    EXPECT_EQ(0u, type.getAttribute(node, 1));
    const char16_t* const value = reinterpret_cast<const char16_t*>(type.getAttribute(node, 0));
    EXPECT_EQ(row.value.empty(), value == nullptr);
    if (value) {
      EXPECT_EQ(row.value, value);
    }
  }
  // Only the first (2 x length) modulo 65536 bytes are folded, but all of them are compared.
  const std::u16string start(32768 + 1, u'x');
  const std::u16string values[] = {start + u'x', start + u'y', u"abc", u"abd", u"ab", u""};
  for (const std::size_t place : {0u, 1u}) {
    EXPECT_EQ((32768u + 2) ^ 0x00780078, ArbNodeHashCode(text(values[place])) ^ ARB_ELEM_TEXT);
  }
  for (const std::u16string& left : values) {
    for (const std::u16string& right : values) {
      ArbNode* const a = text(left);
      EXPECT_EQ(left == right ? 1u : 0u, a->nodeType->isEqual(a, text(right)));
    }
  }

  ArbNode* const node = text(u"old");
  const char16_t replacement[] = u"new value";
  ok(node->nodeType->setAttribute(node, 1, reinterpret_cast<std::uintptr_t>(replacement)));
  EXPECT_EQ(u"old", valueOf(node));
  ok(node->nodeType->setAttribute(node, 0, reinterpret_cast<std::uintptr_t>(replacement)));
  EXPECT_EQ(u"new value", valueOf(node));
  ok(node->nodeType->setAttribute(node, 0, reinterpret_cast<std::uintptr_t>(u"")));
  EXPECT_EQ(u"(none)", valueOf(node));
}

// A stream that keeps what a transfer writes as one piece, and gives one piece to a transfer that reads.
struct Pieces : BaseStream {
  Pieces() : BaseStream{} {
    static const BaseStreamFunctions kFunctions = {nullptr, read, write};
    functions = &kFunctions;
  }
  static std::uint32_t ARB_CALL read(BaseStream* stream, void* buffer, std::uint32_t count, std::uint32_t*) {
    auto& pieces = static_cast<Pieces*>(stream)->pieces;
    if (pieces.empty()) return BASE_IO_END;
    const std::string piece = pieces.front();
    pieces.erase(pieces.begin());
    piece.copy(static_cast<char*>(buffer), count);
    return piece.size() == count ? BASE_IO_OK : BASE_IO_END;
  }
  static std::uint32_t ARB_CALL write(BaseStream* stream, void* buffer, std::uint32_t count, std::uint32_t*) {
    auto& self = *static_cast<Pieces*>(stream);
    if (self.transfers++ == self.failing) return BASE_IO_FULL;
    self.pieces.emplace_back(static_cast<const char*>(buffer), count);
    return BASE_IO_OK;
  }

  std::vector<std::string> pieces;
  std::size_t transfers = 0;
  std::size_t failing = 99;  // the place of the one that finds the stream full
};

std::string imageOf(const void* bytes, std::size_t count) { return {static_cast<const char*>(bytes), count}; }

using StreamForm = BuiltinKinds;

// A record and its value are one transfer each.
TEST_F(StreamForm, ARecordComesBackAsItWasWithABufferOfItsOwn) {
  ArbNodeDestroyer destroy = nullptr;
  ok(ArbTreeGetNodeDestroyer(tree, ARB_NAMESPACE_BUILTIN, &destroy));
  for (const std::uint32_t id : {ARB_ELEM_TEXT, ARB_ELEM_TEXT_3, ARB_ELEM_TEXT_4, ARB_ELEM_ENCODED_BYTES}) {
    for (const std::u16string value : {u"", u"a", u"some value"}) {
      SCOPED_TRACE(testing::Message() << id << " with " << value.size() << " units");
      ArbNode* const node = text(value, id);
      const auto& record = *reinterpret_cast<const ArbTextNode*>(node);
      std::vector<std::string> expected = {imageOf(node, node->size)};
      if (!value.empty()) expected.push_back(imageOf(record.text, 2 * value.size() + 2));
      Pieces stream;
      ok(node->nodeType->write(node, &stream));
      EXPECT_EQ(expected, stream.pieces);

      // Read back into a record of the same kind and size; what it was before is overwritten.
      const std::uint64_t live = heap::testing::liveBlocks();
      auto* const copy = static_cast<ArbTextNode*>(heap::allocateZeroed(node->size));
      ok(node->nodeType->read(&copy->node, &stream));
      EXPECT_TRUE(stream.pieces.empty());
      EXPECT_EQ(node->number, copy->node.number);
      EXPECT_EQ(node->cell, copy->node.cell);
      EXPECT_EQ(record.textLength, copy->textLength);
      EXPECT_EQ(1u, node->nodeType->isEqual(node, &copy->node));
      EXPECT_EQ(value.empty(), record.text == copy->text);
      ok(destroy(&copy->node));
      EXPECT_EQ(live, heap::testing::liveBlocks());
    }
  }
  ArbNode* const reference = host.append(root, "n", ARB_ELEM_EXTERNAL_REFERENCE);
  Pieces stream;
  ok(reference->nodeType->write(reference, &stream));
  ArbExternalReferenceNode copy{};
  ok(reference->nodeType->read(&copy.node, &stream));
  EXPECT_EQ(0, std::memcmp(&copy, reference, sizeof copy));
}

// Bytes of 8 bits: the text is textLength bytes long, and counts as if zeros were behind them.
TEST_F(StreamForm, EightBitBytesAreFilledUp) {
  ArbNode* const node = text(u"units before", ARB_ELEM_ENCODED_BYTES);
  ok(ArbEncodedBytesNodeSetValue(node, "xyz", 3, 0, ARB_ENCODING_RAW8));
  Pieces stream;
  ok(node->nodeType->write(node, &stream));
  std::string written;
  for (const std::string& piece : stream.pieces) written += piece;
  EXPECT_EQ(imageOf("xyz\0\0\0\0\0", 8), written.substr(node->size));
  EXPECT_EQ(3u ^ 0x007A7978, node->nodeType->hash(node));
}

TEST_F(StreamForm, FailuresOfTheStreamAndOfTheHeap) {
  ArbNode* const node = text(u"value");
  for (const std::size_t place : {0u, 1u}) {
    SCOPED_TRACE(place);
    Pieces full;
    full.failing = place;
    EXPECT_EQ(BASE_ERR_FULL, node->nodeType->write(node, &full));

    Pieces cut;
    ok(node->nodeType->write(node, &cut));
    cut.pieces[place].pop_back();
    ArbTextNode copy{};
    EXPECT_EQ(BASE_ERR_END, node->nodeType->read(&copy.node, &cut));
    EXPECT_EQ(place == 0, copy.text == nullptr) << "the pointer that was read is not kept";
    heap::release(copy.text);
  }
  Pieces stream;
  ok(node->nodeType->write(node, &stream));
  ArbTextNode copy{};
  heap::testing::failAllocation(1, false);
  EXPECT_EQ(ARB_ERR_NOMEMORY, node->nodeType->read(&copy.node, &stream));
  heap::testing::stopFailing();
  EXPECT_TRUE(heap::testing::failureFired());
  EXPECT_EQ(nullptr, copy.text);
  EXPECT_EQ(5u, copy.textLength);
}

}  // namespace
}  // namespace arbtree::test
