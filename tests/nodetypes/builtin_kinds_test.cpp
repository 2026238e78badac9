// The six built-in kinds: their records, text values, and the operations of their descriptors with the stream form.
#include <cstring>
#include <string>
#include <vector>

#include "platform/heap.h"
#include "support/host.h"
#include "support/standins.h"

namespace arbtree::test {
namespace {

class BuiltinKinds : public TreeTest {
 protected:
  BuiltinKinds() { host.end(); }
  ArbNode* make(std::uint32_t id) { return host.append(root, "n", id); }
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
    ArbNode* const node = make(id);
    EXPECT_EQ(u"(none)", valueOf(node));
    const std::uint64_t live = heap::testing::liveBlocks();
    for (const std::u16string value : {u"a", u"abc", u"a longer value than before", u"b"}) {
      ok(ArbAbstractTextNodeSetValue(node, value.data(), static_cast<std::uint32_t>(value.size())));
      EXPECT_EQ(value, valueOf(node));
      EXPECT_EQ(live + 1, heap::testing::liveBlocks());
    }
    ok(ArbAbstractTextNodeSetValue(node, u"0123456789", 4));
    EXPECT_EQ(u"0123", valueOf(node)) << "the length counts, not a terminator";
    const char16_t* own = nullptr;
    ok(ArbAbstractTextNodeGetValue(node, &own, nullptr));
    ok(ArbAbstractTextNodeSetValue(node, own, 4));
    EXPECT_EQ(u"0123", valueOf(node)) << "from itself";
    ok(ArbAbstractTextNodeGetValue(node, &own, nullptr));
    ok(ArbAbstractTextNodeSetValue(node, own + 1, 2));
    EXPECT_EQ(u"12", valueOf(node)) << "from its own middle";
    const std::u16string zeros(3, u'\0');
    ok(ArbAbstractTextNodeSetValue(node, zeros.data(), 3));
    EXPECT_EQ(zeros, valueOf(node));
    ok(ArbAbstractTextNodeSetValue(node, u"x", 0));
    EXPECT_EQ(u"(none)", valueOf(node));
    EXPECT_EQ(live, heap::testing::liveBlocks());

    // Byte counts beyond 32 bits.
    for (const std::uint32_t length : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
      if (sizeof(std::size_t) > 4) break;
      EXPECT_EQ(ARB_ERR_NOMEMORY, ArbAbstractTextNodeSetValue(node, u"short", length));
    }
  }
  ArbNode* const reference = make(ARB_ELEM_EXTERNAL_REFERENCE);
  ArbNode* const element = make(elementId(1));
  for (ArbNode* const node : {root, reference, element}) {
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
  ArbNode* const a = text(std::u16string(32768 + 2, u'x'));
  ArbNode* const b = text(std::u16string(32768 + 1, u'x') + u'y');
  EXPECT_EQ((32768u + 2) ^ 0x00780078, a->nodeType->hash(a));
  EXPECT_EQ(a->nodeType->hash(a), b->nodeType->hash(b));
  EXPECT_EQ(0u, a->nodeType->isEqual(a, b));
  EXPECT_EQ(1u, a->nodeType->isEqual(a, text(std::u16string(32768 + 2, u'x'))));
  EXPECT_EQ(0u, a->nodeType->isEqual(text(u"abc"), text(u"abd")));
  EXPECT_EQ(0u, a->nodeType->isEqual(text(u"abc"), text(u"ab")));
  EXPECT_EQ(1u, a->nodeType->isEqual(text(u""), text(u"")));

  ArbNode* const node = text(u"old");
  const char16_t replacement[] = u"new value";
  ok(node->nodeType->setAttribute(node, 1, reinterpret_cast<std::uintptr_t>(replacement)));
  EXPECT_EQ(u"old", valueOf(node));
  ok(node->nodeType->setAttribute(node, 0, reinterpret_cast<std::uintptr_t>(replacement)));
  EXPECT_EQ(u"new value", valueOf(node));
  ok(node->nodeType->setAttribute(node, 0, reinterpret_cast<std::uintptr_t>(u"")));
  EXPECT_EQ(u"(none)", valueOf(node));
}

// A stream in memory, closed with its scope.
struct Stream {
  explicit Stream(std::uint32_t limit = 0, const void* bytes = nullptr, std::uint32_t count = 0) {
    ok(BaseStreamOpenMemory(bytes, count, limit, &stream));
  }
  ~Stream() { BaseStreamClose(stream); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  operator BaseStream*() const { return stream; }
  BaseStream* stream = nullptr;
};

class StreamForm : public BuiltinKinds {
 protected:
  static std::uint32_t drain(BaseStream* stream, void* buffer, std::uint32_t room) {
    std::uint32_t moved = 0;
    stream->functions->read(stream, buffer, room, &moved);
    return moved;
  }
};

TEST_F(StreamForm, ARecordComesBackAsItWasWithABufferOfItsOwn) {
  for (const std::uint32_t id : {ARB_ELEM_TEXT, ARB_ELEM_TEXT_3, ARB_ELEM_TEXT_4, ARB_ELEM_ENCODED_BYTES}) {
    for (const std::u16string value : {u"", u"a", u"some value"}) {
      SCOPED_TRACE(testing::Message() << id << " with " << value.size() << " units");
      ArbNode* const node = text(value, id);
      const std::uint32_t bytes = value.empty() ? 0 : static_cast<std::uint32_t>(2 * value.size() + 2);
      const Stream stream;
      ok(node->nodeType->write(node, stream));
      unsigned char image[512];
      EXPECT_EQ(node->size + bytes, drain(stream, image, sizeof image));
      EXPECT_EQ(0, std::memcmp(image, node, node->size));
      const auto* const record = reinterpret_cast<const ArbTextNode*>(node);
      if (bytes) {
        EXPECT_EQ(0, std::memcmp(image + node->size, record->text, bytes));
      }

      // Read back into a record of the same kind and size; what it was before is overwritten.
      ok(node->nodeType->write(node, stream));
      auto* const copy = static_cast<ArbTextNode*>(heap::allocateZeroed(node->size));
      ok(node->nodeType->read(&copy->node, stream));
      EXPECT_EQ(node->number, copy->node.number);
      EXPECT_EQ(node->cell, copy->node.cell);
      EXPECT_EQ(record->textLength, copy->textLength);
      EXPECT_EQ(1u, node->nodeType->isEqual(node, &copy->node));
      if (bytes) {
        EXPECT_NE(record->text, copy->text);
      }
      heap::release(copy->text);
      heap::release(copy);
    }
  }
  ArbNode* const reference = make(ARB_ELEM_EXTERNAL_REFERENCE);
  const Stream stream;
  ok(reference->nodeType->write(reference, stream));
  ArbExternalReferenceNode copy{};
  ok(reference->nodeType->read(&copy.node, stream));
  EXPECT_EQ(0, std::memcmp(&copy, reference, sizeof copy));
  EXPECT_EQ(0u, drain(stream, &copy, 1));
}

// A stream may keep what a transfer writes as one piece, and give one piece to a transfer that reads.
struct Pieces : BaseStream {
  std::vector<std::uint32_t> written, read;
};
std::uint32_t ARB_CALL notePieceRead(BaseStream* stream, void*, std::uint32_t count, std::uint32_t*) {
  return static_cast<Pieces*>(stream)->read.push_back(count), BASE_IO_OK;
}
std::uint32_t ARB_CALL notePieceWritten(BaseStream* stream, void*, std::uint32_t count, std::uint32_t*) {
  return static_cast<Pieces*>(stream)->written.push_back(count), BASE_IO_OK;
}

TEST_F(StreamForm, ARecordAndItsValueAreOneTransferEach) {
  const BaseStreamFunctions functions = {nullptr, notePieceRead, notePieceWritten};
  for (const std::uint32_t id : {ARB_ELEM_TEXT, ARB_ELEM_ENCODED_BYTES}) {
    for (const std::u16string value : {u"", u"a", u"some value"}) {
      SCOPED_TRACE(testing::Message() << id << " with " << value.size() << " units");
      ArbNode* const node = text(value, id);
      std::vector<std::uint32_t> expected = {node->size};
      if (!value.empty()) expected.push_back(static_cast<std::uint32_t>(2 * value.size() + 2));
      Pieces stream;
      stream.functions = &functions;
      EXPECT_EQ(ARB_OK, node->nodeType->write(node, &stream));
      EXPECT_EQ(expected, stream.written);
      auto& record = *reinterpret_cast<ArbTextNode*>(node);
      void* const before = record.text;
      EXPECT_EQ(ARB_OK, node->nodeType->read(node, &stream));
      EXPECT_EQ(expected, stream.read);
      heap::release(before);
    }
  }
}

// Bytes of 8 bits: the text is textLength bytes long, and the stream holds zeros behind them.
TEST_F(StreamForm, EightBitBytesAreFilledUp) {
  ArbNode* const node = make(ARB_ELEM_ENCODED_BYTES);
  auto* const record = reinterpret_cast<ArbEncodedBytesNode*>(node);
  record->encoding = ARB_ENCODING_RAW8;
  record->text = static_cast<char16_t*>(heap::allocate(5));
  record->textLength = 4;
  std::memcpy(record->text, "wxyz", 5);
  const Stream stream;
  ok(node->nodeType->write(node, stream));
  unsigned char image[512];
  EXPECT_EQ(node->size + 10u, drain(stream, image, sizeof image));
  EXPECT_EQ(0, std::memcmp(image + node->size, "wxyz\0\0\0\0\0\0", 10));
}

TEST_F(StreamForm, FailuresOfTheStreamAndOfTheHeap) {
  ArbNode* const node = text(u"value");
  for (const std::uint32_t room : {1u, node->size - 1u, node->size + 1u, node->size + 11u}) {
    SCOPED_TRACE(room);
    const Stream full(room);
    EXPECT_EQ(BASE_ERR_FULL, node->nodeType->write(node, full));

    const Stream whole;
    ok(node->nodeType->write(node, whole));
    unsigned char image[512];
    drain(whole, image, sizeof image);
    const Stream cut(0, image, room);
    ArbTextNode copy{};
    EXPECT_EQ(BASE_ERR_END, node->nodeType->read(&copy.node, cut));
    if (room > node->size) heap::release(copy.text);
  }
  const Stream stream;
  ok(node->nodeType->write(node, stream));
  ArbTextNode copy{};
  heap::testing::failAllocation(1, false);
  EXPECT_EQ(ARB_ERR_NOMEMORY, node->nodeType->read(&copy.node, stream));
  heap::testing::stopFailing();
  EXPECT_TRUE(heap::testing::failureFired());
  EXPECT_EQ(nullptr, copy.text);
  EXPECT_EQ(5u, copy.textLength);
}

}  // namespace
}  // namespace arbtree::test
