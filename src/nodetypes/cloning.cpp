// Copying nodes and subtrees, within a tree or into another.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

#include "nodetypes/attribute_area.h"
#include "nodetypes/text_value.h"
#include "platform/heap.h"
#include "tree/growing_array.h"
#include "tree/metadata.h"
#include "tree/node_creation.h"

namespace arbtree {
namespace {

constexpr std::uint32_t kFirstPathLength = 64;
constexpr std::uint32_t kUncopiedAttribute = 0x37;  // top byte of the id of an attribute that stays with its node

// The copy has encodingFlags 0, and without memory no value, whatever a callback may have been quick to set.
void copyEncodedBytes(const ArbNode& source, ArbNode& copy) {
  const auto& from = reinterpret_cast<const ArbEncodedBytesNode&>(source);
  auto& to = reinterpret_cast<ArbEncodedBytesNode&>(copy);
  dropValue(copy);
  takeMark(copy, kHoldsUnits);
  to.info = from.info;
  to.encoding = from.encoding;
  to.encodingFlags = 0;
  if (!from.text) return;
  const std::size_t held = valueBytes(source);
  if (held > std::numeric_limits<std::size_t>::max() - sizeof(char16_t)) return;
  auto* const buffer = static_cast<std::uint8_t*>(heap::allocateZeroed(held + sizeof(char16_t)));
  if (!buffer) return;
  std::memcpy(buffer, from.text, held);
  adoptValue(copy, buffer, from.textLength);
  if (hasMark(source, kHoldsUnits)) giveMark(copy, kHoldsUnits);
}

// The kind has no attributes that would carry these over.
void copyExternalReference(const ArbNode& source, ArbNode& copy) {
  const auto& from = reinterpret_cast<const ArbExternalReferenceNode&>(source);
  auto& to = reinterpret_cast<ArbExternalReferenceNode&>(copy);
  to.target = from.target;
  std::copy(std::begin(from.entityName), std::end(from.entityName), std::begin(to.entityName));
}

void copyAttributes(ArbNode& source, ArbNode& copy) {
  const ArbNodeType& type = *source.nodeType;
  for (std::uint32_t i = 0; i < type.attributeCount; ++i) {
    if (type.attributes[i].attributeId >> 24 == kUncopiedAttribute || !type.hasAttribute(&source, i)) continue;
    copy.nodeType->setAttribute(&copy, i, type.getAttribute(&source, i));
  }
}

void copyArea(ArbNode& source, ArbNode& copy) {
  std::copy_n(areaOf(source), std::min(areaSize(source), areaSize(copy)), areaOf(copy));
}

void copyContent(ArbNode& source, ArbNode& copy) {
  switch (elementIdOf(source)) {
    case ARB_ELEM_TEXT:
    case ARB_ELEM_TEXT_3:
    case ARB_ELEM_TEXT_4:
      ArbAbstractTextNodeSetValue(&copy, asText(source).text, asText(source).textLength);
      return;
    case ARB_ELEM_ENCODED_BYTES:
      return copyEncodedBytes(source, copy);
    case ARB_ELEM_EXTERNAL_REFERENCE:
      return copyExternalReference(source, copy);
    case ARB_ELEM_ROOT:
      return;
    default:
      return hasAttributeFunctions(source) ? copyAttributes(source, copy) : copyArea(source, copy);
  }
}

ArbStatus cloneNode(ArbNode& source, ArbTree& tree, ArbNode** out, ArbNode*& copy) {
  const ArbStatus status = createNode(tree, elementIdOf(source), nullptr, out, copy);
  if (status != ARB_OK) return status;
  copyContent(source, *copy);
  metadata::clear(copy->metadata);  // a callback may have been quick to set some
  copy->metadata = metadata::copy(source.metadata);
  return ARB_OK;
}

// A subtree's copy, made like a recursion: a node is copied, then its children with all that is below them, each linked
// when it is complete. Until then nothing in a copy tells to which one it belongs, so the way back is kept aside; and
// that of the sources as well, which callbacks may unlink meanwhile. After a failure nothing made is undone, and
// nothing unfinished is linked.
class SubtreeCopy {
 public:
  SubtreeCopy(ArbNode& source, ArbTree& tree) : tree_(tree), current_{&source, nullptr} {}
  ~SubtreeCopy() { heap::release(path_); }
  SubtreeCopy(const SubtreeCopy&) = delete;
  SubtreeCopy& operator=(const SubtreeCopy&) = delete;

  ArbStatus run(ArbNode** out) {
    const ArbStatus status = cloneNode(*current_.source, tree_, out, current_.copy);
    return status == ARB_OK ? copyDescendants() : status;
  }

 private:
  struct Level {
    ArbNode* source;
    ArbNode* copy;
  };

  ArbStatus copyDescendants() {
    ArbNode* next = firstChildOf(*current_.source);
    while (next) {
      if (const ArbStatus status = descend(*next)) return status;
      next = firstChildOf(*current_.source);
      while (!next && pathLength_ != 0) {
        const ArbNode& copied = *current_.source;
        if (const ArbStatus status = linkCopy()) return status;
        next = nextSiblingOf(copied);
      }
    }
    return ARB_OK;
  }

  ArbStatus descend(ArbNode& source) {
    if (!reserveOne(path_, pathCapacity_, pathLength_, kFirstPathLength)) return ARB_ERR_NOMEMORY;
    ArbNode* shown = nullptr;
    ArbNode* made = nullptr;
    const ArbStatus status = cloneNode(source, tree_, &shown, made);
    if (status != ARB_OK) return status;
    path_[pathLength_++] = current_;
    current_ = {&source, made};
    return ARB_OK;
  }

  // Links the current copy under the one it belongs to, which becomes the current one.
  ArbStatus linkCopy() {
    ArbNode* const finished = current_.copy;
    current_ = path_[--pathLength_];
    return ArbNodeAppendChild(current_.copy, finished);
  }

  ArbTree& tree_;
  Level current_;
  // The unfinished levels above the current one, the top one first.
  Level* path_ = nullptr;
  std::uint32_t pathCapacity_ = 0;
  std::uint32_t pathLength_ = 0;
};

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbNodeClone(ArbNode* node, ArbTree* tree, ArbNode** copy) {
  if (!node || !copy) return ARB_ERR_BADARG;
  ArbNode* made = nullptr;
  return cloneNode(*node, tree ? *tree : *node->tree, copy, made);
}

ArbStatus ARB_CALL ArbNodeCloneSubtree(ArbNode* node, ArbTree* tree, ArbNode** copy) {
  if (!node || !copy) return ARB_ERR_BADARG;
  return SubtreeCopy(*node, tree ? *tree : *node->tree).run(copy);
}
