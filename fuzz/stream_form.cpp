// Reading nodes of the built-in kinds from streams whose fields and values may be anything and which may end anywhere,
// and writing them again. A stream form is a copy that only its own process reads, so heads are always a node's own,
// and names end with a zero. First a kind, a length and how much is cut off, then fields and value.
#include <cstring>

#include "arbtree/baseutil.h"
#include "one_tree.h"

namespace arbtree::fuzz {
namespace {

class MemoryStream {
 public:
  explicit MemoryStream(const Bytes& bytes = {}) {
    const auto count = static_cast<std::uint32_t>(bytes.size());
    require(BaseStreamOpenMemory(bytes.data(), count, 0, &stream) == ARB_OK, "a stream is opened");
  }
  ~MemoryStream() { BaseStreamClose(stream); }
  MemoryStream(const MemoryStream&) = delete;
  MemoryStream& operator=(const MemoryStream&) = delete;
  Bytes rest() {
    Bytes bytes(1000);
    std::uint32_t count = 0;
    stream->functions->read(stream, bytes.data(), static_cast<std::uint32_t>(bytes.size()), &count);
    bytes.resize(count);
    return bytes;
  }
  BaseStream* stream = nullptr;
};

bool isReference(const ArbNode& node) { return node.nodeType->elementId == ARB_ELEM_EXTERNAL_REFERENCE; }

// Where a value is in memory is no part of what is compared.
Bytes withoutPointer(const ArbNode& node, Bytes bytes) {
  if (!isReference(node)) std::memset(bytes.data() + offsetof(ArbTextNode, text), 0, sizeof(char16_t*));
  return bytes;
}

Bytes written(ArbNode& node) {
  MemoryStream stream;
  require(node.nodeType->write(&node, stream.stream) == ARB_OK, "a node is written");
  return withoutPointer(node, stream.rest());
}

// A whole stream form: the node's own head, fields and a value of at most 39 units from the input.
Bytes image(const ArbNode& node, std::uint32_t length, Input& input) {
  Bytes bytes(node.size);
  std::memcpy(bytes.data(), &node, node.size);
  const Bytes fields = input.bytes(node.size - sizeof(ArbNode));
  std::copy(fields.begin(), fields.end(), bytes.begin() + sizeof(ArbNode));
  if (isReference(node)) {
    bytes.at(offsetof(ArbExternalReferenceNode, entityName) + 126) = 0;
    bytes.at(offsetof(ArbExternalReferenceNode, entityName) + 127) = 0;
    return bytes;
  }
  std::memcpy(bytes.data() + offsetof(ArbTextNode, textLength), &length, sizeof length);
  Bytes value = input.bytes(2 * length);
  if (length != 0) value.resize(2 * length + 2);
  bytes.insert(bytes.end(), value.begin(), value.end());
  return bytes;
}

// What was written can be read into a record of the same kind, which then is equal.
void checkCopy(ArbNode& node, const Bytes& bytes) {
  std::vector<std::uintptr_t> record(node.size / sizeof(std::uintptr_t) + 1);
  auto& copy = *reinterpret_cast<ArbNode*>(record.data());
  MemoryStream stream(bytes);
  require(node.nodeType->read(&copy, stream.stream) == ARB_OK, "what was written is read");
  require(node.nodeType->isEqual(&node, &copy) == 1, "what was written is equal when it is read");
  require(node.nodeType->hash(&node) == node.nodeType->hash(&copy), "equal nodes hash alike");
  require(written(copy) == bytes, "what was read is written as it was");
  if (!isReference(node)) ArbAbstractTextNodeSetValue(&copy, nullptr, 0);
}

}  // namespace

std::vector<std::string> seeds() {
  std::vector<std::string> made;
  for (char kind = 0; kind < 5; ++kind) {
    for (const char length : {'\x00', '\x01', '\x03', '\x09'})
      made.push_back(std::string{kind, length, '\x00'} + std::string(60, kind));
  }
  return made;
}

}  // namespace arbtree::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace arbtree::fuzz;
  constexpr std::uint32_t kKinds[] = {ARB_ELEM_TEXT, ARB_ELEM_TEXT_3, ARB_ELEM_TEXT_4, ARB_ELEM_ENCODED_BYTES,
                                      ARB_ELEM_EXTERNAL_REFERENCE};
  Input input(data, size);
  OneTree tree;
  ArbNode& node = *tree.make(kKinds[input.below(5)]);
  const auto length = static_cast<std::uint32_t>(input.below(40));
  const std::size_t cut = input.byte();
  const Bytes whole = image(node, length, input);
  const bool isCut = cut != 0 && cut <= whole.size();
  MemoryStream stream(Bytes(whole.begin(), whole.end() - static_cast<std::ptrdiff_t>(isCut ? cut : 0)));
  require(node.nodeType->read(&node, stream.stream) == (isCut ? BASE_ERR_END : ARB_OK), "the status of reading");
  node.nodeType->hash(&node);
  const Bytes again = written(node);  // whatever a failure has left
  if (isCut) return 0;
  require(stream.rest().empty(), "reading takes all that belongs to the node");
  // The value of an 8-bit node is the first half of what was read.
  const bool is8Bit = node.nodeType->elementId == ARB_ELEM_ENCODED_BYTES &&
                      reinterpret_cast<ArbEncodedBytesNode&>(node).encoding == ARB_ENCODING_RAW8;
  Bytes expected = withoutPointer(node, whole);
  if (is8Bit)
    std::fill(expected.begin() + node.size + static_cast<std::ptrdiff_t>(length), expected.end(), std::uint8_t{0});
  require(again == expected, "what was read is written");
  checkCopy(node, again);
  return 0;
}
