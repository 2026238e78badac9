// Making, filling and destroying element nodes.
#include "element_node.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "element_kinds.h"
#include "utf.h"

namespace arbtree::tool {
namespace {

// Destroyed records, linked through their first word.
class RecordPool {
 public:
  ElementNode* take() {
    if (!first_) return static_cast<ElementNode*>(std::calloc(1, sizeof(ElementNode)));
    ElementNode* const record = first_;
    std::memcpy(&first_, record, sizeof first_);
    --count_;
    std::memset(static_cast<void*>(record), 0, offsetof(ElementNode, entryCapacity));
    return record;
  }

  void giveBack(ElementNode* record) {
    if (count_ == kMaxRecords || record->entryCapacity > kMaxKeptEntries || record->unitCapacity > kMaxKeptUnits) {
      std::free(record->entries);
      std::free(record->values);
      std::free(record);
      return;
    }
    std::memcpy(static_cast<void*>(record), &first_, sizeof first_);
    first_ = record;
    ++count_;
  }

 private:
  static constexpr std::size_t kMaxRecords = 4096;  // about one chunk's worth
  static constexpr std::size_t kMaxKeptEntries = 16;
  static constexpr std::size_t kMaxKeptUnits = 128;

  ElementNode* first_ = nullptr;
  std::size_t count_ = 0;
};

RecordPool pool;

template <typename Item>
bool grow(Item*& items, std::uint32_t& capacity, std::size_t wanted) {
  if (wanted <= capacity) return true;
  const std::size_t grown = std::max<std::size_t>(wanted, std::size_t{capacity} + capacity / 2);
  if (grown > UINT32_MAX || grown > SIZE_MAX / sizeof(Item)) return false;
  void* const block = std::realloc(static_cast<void*>(items), grown * sizeof(Item));
  if (!block) return false;
  items = static_cast<Item*>(block);
  capacity = static_cast<std::uint32_t>(grown);
  return true;
}

bool byIndex(const AttributeEntry& a, const AttributeEntry& b) { return a.index < b.index; }

}  // namespace

std::uint32_t ARB_CALL makeElementNode(ArbTree*, std::uint32_t elementId, ArbNode** node) {
  const ArbNodeType* const type = ElementKinds::instance().findType(elementId);
  ElementNode* const made = type ? pool.take() : nullptr;
  if (!made) return ARB_ERR_NOTFOUND;
  made->node.size = sizeof *made;
  made->node.nodeType = type;
  *node = &made->node;
  return ARB_OK;
}

std::uint32_t ARB_CALL destroyElementNode(ArbNode* node) {
  pool.giveBack(&asElement(*node));
  return ARB_OK;
}

bool reserveAttributes(ElementNode& element, std::size_t entries, std::size_t units) {
  return grow(element.entries, element.entryCapacity, entries) && grow(element.values, element.unitCapacity, units);
}

bool assignAttributes(ElementNode& element, std::span<const NewAttribute> attributes) {
  std::size_t most = 0;
  for (const NewAttribute& attribute : attributes) most += attribute.value.size() + 1;
  if (!reserveAttributes(element, attributes.size(), most + kUtf16Slack)) return false;
  char16_t* out = element.values;
  bool sorted = true;
  for (std::size_t i = 0; i < attributes.size(); ++i) {
    char16_t* const start = out;
    out = writeUtf16(attributes[i].value.data(), attributes[i].value.size(), out);
    element.entries[i] = {attributes[i].index, static_cast<std::uint32_t>(start - element.values),
                          static_cast<std::uint32_t>(out - start)};
    *out++ = 0;
    sorted = sorted && (i == 0 || attributes[i - 1].index < attributes[i].index);
  }
  if (!sorted) std::sort(element.entries, element.entries + attributes.size(), byIndex);
  element.attributeCount = static_cast<std::uint32_t>(attributes.size());
  element.unitCount = static_cast<std::uint32_t>(out - element.values);
  return true;
}

}  // namespace arbtree::tool
