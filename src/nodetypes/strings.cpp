// Interned strings: the document's string table, and the search tree of `greater` and `less` links laid over it.
//
// The shape of that tree follows the order in which texts were first requested and is not balanced, so it is never
// walked here: a new text hangs below its predecessor or its successor in text order, whichever was made later, and a
// balanced index of all texts gives those two.
#include "nodetypes/strings.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <new>
#include <set>
#include <string_view>

#include "nodetypes/hash_fold.h"
#include "platform/heap.h"
#include "tree/growing_array.h"

namespace arbtree {
namespace {

constexpr std::uint32_t kFirstStrings = 1024;

std::u16string_view textOf(const ArbString& string) { return {string.text, string.length}; }

// The standard containers' way to the heap: it throws, and the one place that enters strings catches.
template <typename T>
struct HeapAllocator {
  using value_type = T;
  HeapAllocator() = default;
  template <typename Other>
  HeapAllocator(const HeapAllocator<Other>&) {}
  T* allocate(std::size_t count) {
    T* const entries = heap::allocateArray<T>(count);
    if (!entries) throw std::bad_alloc();
    return entries;
  }
  void deallocate(T* entries, std::size_t count) { heap::release(entries, count * sizeof(T)); }
  bool operator==(const HeapAllocator&) const { return true; }
};

struct IndexedString {
  ArbString* string;
  std::uint32_t index;  // in the document's table
};

// Unit by unit as unsigned numbers; a proper prefix is smaller.
struct TextOrder {
  using is_transparent = void;
  static std::u16string_view key(std::u16string_view text) { return text; }
  static std::u16string_view key(const IndexedString& entry) { return textOf(*entry.string); }
  template <typename Left, typename Right>
  bool operator()(const Left& left, const Right& right) const {
    return key(left) < key(right);
  }
};

}  // namespace

// All strings of a document in text order.
class StringIndex : public std::set<IndexedString, TextOrder, HeapAllocator<IndexedString>> {};

namespace {

ArbString* makeString(std::u16string_view text) {
  constexpr std::size_t kHead = offsetof(ArbString, text);
  constexpr std::size_t kMostUnits = (SIZE_MAX - kHead) / sizeof(char16_t) - 1;
  if (text.size() > std::min<std::size_t>(kMostUnits, UINT32_MAX)) return nullptr;
  const std::size_t bytes = kHead + (text.size() + 1) * sizeof(char16_t);
  auto* const string = static_cast<ArbString*>(heap::allocateZeroed(std::max(bytes, sizeof(ArbString))));
  if (!string) return nullptr;
  string->length = static_cast<std::uint32_t>(text.size());
  text.copy(string->text, text.size());
  return string;
}

StringIndex* indexOf(ArbDocument& document) {
  if (!document.stringIndex) {
    void* const place = heap::allocate(sizeof(StringIndex));
    if (place) document.stringIndex = new (place) StringIndex;
  }
  return document.stringIndex;
}

// Hangs the new entry below its neighbour made last. The first string of a document hangs below nothing.
void link(const StringIndex& index, StringIndex::iterator entry) {
  const auto next = std::next(entry);
  const IndexedString* const greater = next == index.end() ? nullptr : &*next;
  const IndexedString* const less = entry == index.begin() ? nullptr : &*std::prev(entry);
  if (less && (!greater || less->index > greater->index)) {
    less->string->greater = entry->index;
  } else if (greater) {
    greater->string->less = entry->index;
  }
}

// False when there is no memory: table, index and links are then as they were.
bool enter(ArbDocument& document, ArbString* string, StringIndex::const_iterator next) {
  StringTable& table = document.strings;
  if (!reserveOne(table.entries, table.capacity, table.count, kFirstStrings)) return false;
  try {
    link(*document.stringIndex, document.stringIndex->insert(next, {string, table.count}));
  } catch (const std::bad_alloc&) {
    return false;
  }
  table.entries[table.count++] = string;
  return true;
}

ArbString* findOrMake(ArbDocument& document, std::u16string_view text) {
  StringIndex* const index = indexOf(document);
  if (!index) return nullptr;
  const auto found = index->lower_bound(text);
  if (found != index->end() && textOf(*found->string) == text) return found->string;
  ArbString* const string = makeString(text);
  if (string && enter(document, string, found)) return string;
  heap::release(string);
  return nullptr;
}

}  // namespace

void destroyStrings(ArbDocument& document) {
  if (StringIndex* const index = document.stringIndex) {
    index->~StringIndex();
    heap::release(index, sizeof *index);
    document.stringIndex = nullptr;
  }
  StringTable& table = document.strings;
  for (std::uint32_t i = 0; i < table.count; ++i) heap::release(table.entries[i]);
  heap::release(table.entries);
  table = {};
}

}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbDocumentCreateString(ArbDocument* document, const char16_t* text, ArbString** string) {
  if (!document || !text || !string) return ARB_ERR_BADARG;
  *string = findOrMake(*document, text);
  return *string ? ARB_OK : ARB_ERR_NOMEMORY;
}

int16_t ARB_CALL ArbStringCompare(const ArbString* a, const ArbString* b) {
  if (a == b) return 0;
  if (!a) return -1;
  if (!b) return 1;
  const int order = textOf(*a).compare(textOf(*b));
  return static_cast<std::int16_t>((order > 0) - (order < 0));
}

uint32_t ARB_CALL ArbStringGetHashCode(const ArbString* string) {
  if (!string) return 0;
  return foldHash(0, string->text, hashedTextBytes(string->length));
}
