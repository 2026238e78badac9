// Making, filling and destroying element nodes.
#include "element_node.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "element_kinds.h"
#include "utf.h"

namespace arbtree::tool {
namespace {

// All records of the process: taken from the heap by the slab, handed out again when they have been destroyed, and left
// to the process's end, so that a node costs no call of the heap. Destroyed records are linked through their first
// word.
class RecordPool {
 public:
  // Null when there is no memory.
  ElementNode* take() {
    if (!first_) return takeNew();
    ElementNode* const record = first_;
    std::memcpy(&first_, record, sizeof first_);
    clear(record->node);
    return record;
  }

  void giveBack(ElementNode* record) {
    if (!record->attributes().empty()) clearList(*record);
    std::memcpy(static_cast<void*>(record), &first_, sizeof first_);
    first_ = record;
  }

 private:
  static constexpr std::size_t kSlabRecords = 256;
  static constexpr std::size_t kMaxKeptEntries = 16;
  static constexpr std::size_t kMaxKeptUnits = 128;

  // In two parts, each of which the compiler turns into a few stores: a call would cost more than the rest of making a
  // node.
  static void clear(ArbNode& node) {
    constexpr std::size_t kHalf = sizeof node / 2;
    __builtin_memset(&node, 0, kHalf);
    __builtin_memset(reinterpret_cast<char*>(&node) + kHalf, 0, sizeof node - kHalf);
  }

  [[gnu::noinline]] ElementNode* takeNew() {
    if (unused_ == 0) {
      slab_ = static_cast<ElementNode*>(std::malloc(kSlabRecords * sizeof(ElementNode)));
      if (!slab_) return nullptr;
      unused_ = kSlabRecords;
    }
    return new (&slab_[--unused_]) ElementNode{};
  }

  [[gnu::noinline]] static void clearList(ElementNode& record) {
    AttributeList& list = *record.list;
    list.entries.clear();
    list.values.clear();
    if (list.entries.capacity() > kMaxKeptEntries || list.values.capacity() > kMaxKeptUnits) {
      delete std::exchange(record.list, nullptr);
    }
  }

  ElementNode* first_ = nullptr;
  ElementNode* slab_ = nullptr;  // the newest one
  std::size_t unused_ = 0;       // records at its front that were never handed out
};

RecordPool pool;

bool byIndex(const AttributeEntry& a, const AttributeEntry& b) { return a.index < b.index; }

void assign(AttributeList& list, std::span<const NewAttribute> attributes) {
  std::size_t most = 0;
  for (const NewAttribute& attribute : attributes) most += attribute.value.size() + 1;
  list.entries.reserve(attributes.size());
  list.values.resize(most + kUtf16Slack);
  char16_t* const first = list.values.data();
  char16_t* out = first;
  for (const NewAttribute& attribute : attributes) {
    char16_t* const start = out;
    out = writeUtf16(attribute.value.data(), attribute.value.size(), out);
    list.entries.push_back(
        {attribute.index, static_cast<std::uint32_t>(start - first), static_cast<std::uint32_t>(out - start)});
    *out++ = 0;
  }
  list.values.resize(static_cast<std::size_t>(out - first));
  if (!std::is_sorted(list.entries.begin(), list.entries.end(), byIndex)) {
    std::sort(list.entries.begin(), list.entries.end(), byIndex);
  }
}

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

AttributeList& attributeList(ElementNode& element) {
  if (!element.list) element.list = new AttributeList;
  return *element.list;
}

// All memory is taken before the first entry is made.
bool assignAttributes(ElementNode& element, std::span<const NewAttribute> attributes) {
  try {
    assign(attributeList(element), attributes);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace arbtree::tool
