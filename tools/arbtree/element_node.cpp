// Making, filling and destroying element nodes.
#include "element_node.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "element_kinds.h"
#include "utf.h"

namespace arbtree::tool {
namespace {

// All records of the process: taken from the heap by the slab, handed out again when they have been destroyed, and
// given back when the process ends, so that a node costs no call of the heap. Destroyed records are linked through
// their first word.
class RecordPool {
 public:
  ~RecordPool() {
    while (first_) {
      ElementNode* const record = pop();
      std::free(record->entries);
      std::free(record->values);
    }
    while (Slab* const slab = slabs_) {
      slabs_ = slab->next;
      std::free(slab);
    }
  }

  // Null when there is no memory.
  ElementNode* take() {
    if (!first_) return takeNew();
    ElementNode* const record = pop();
    clear(record);
    return record;
  }

  void giveBack(ElementNode* record) {
    if (record->entryCapacity > kMaxKeptEntries || record->unitCapacity > kMaxKeptUnits) dropArrays(*record);
    std::memcpy(static_cast<void*>(record), &first_, sizeof first_);
    first_ = record;
  }

 private:
  static constexpr std::size_t kSlabRecords = 256;
  static constexpr std::size_t kMaxKeptEntries = 16;
  static constexpr std::size_t kMaxKeptUnits = 128;

  struct Slab {
    Slab* next;
    ElementNode records[kSlabRecords];
  };

  // All but the arrays and their capacities. In two parts, each of which the compiler turns into a few stores: a call
  // would cost more than the rest of making a node.
  static void clear(void* record) {
    constexpr std::size_t kBytes = offsetof(ElementNode, entryCapacity);
    __builtin_memset(record, 0, kBytes / 2);
    __builtin_memset(static_cast<char*>(record) + kBytes / 2, 0, kBytes - kBytes / 2);
  }

  ElementNode* pop() {
    ElementNode* const record = first_;
    std::memcpy(&first_, record, sizeof first_);
    return record;
  }

  ElementNode* takeNew() {
    if (unused_ == 0) {
      auto* const slab = static_cast<Slab*>(std::calloc(1, sizeof(Slab)));
      if (!slab) return nullptr;
      slab->next = slabs_;
      slabs_ = slab;
      unused_ = kSlabRecords;
    }
    return &slabs_->records[--unused_];
  }

  static void dropArrays(ElementNode& record) {
    std::free(record.entries);
    std::free(record.values);
    record.entries = nullptr;
    record.values = nullptr;
    record.entryCapacity = record.unitCapacity = 0;
  }

  ElementNode* first_ = nullptr;
  Slab* slabs_ = nullptr;
  std::size_t unused_ = 0;  // records at the front of the newest slab that were never handed out
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
