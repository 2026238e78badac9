// Released node records of one size, kept for the next node of that size: a document that streams makes and frees the
// same few kinds of node over and over, and the heap is by far the largest part of a node's cost.
//
// Invariant: count records are linked from `first` through their first word, each a heap block of the cache's size; at
// most kLimit of them, one chunk's worth of nodes, so that freed memory goes back to the heap. All zeros is an empty
// cache. Under the address sanitizer nothing is kept, so that a use after freeing is seen.
#ifndef ARBTREE_PLATFORM_RECORD_CACHE_H
#define ARBTREE_PLATFORM_RECORD_CACHE_H

#include <cstring>
#include <new>
#include <utility>

#include "platform/heap.h"

namespace arbtree {

// Zeroes a record in place, which costs less than a call for the size of a node.
template <std::size_t bytes>
inline void clearInPlace(void* record) {
  constexpr std::size_t kPair = 16;
  using TwoWords [[gnu::vector_size(kPair), gnu::aligned(4), gnu::may_alias]] = std::uint64_t;
  const auto clearAt = [record](std::size_t at) {
    *reinterpret_cast<TwoWords*>(static_cast<char*>(record) + at) = TwoWords{};
  };
  [clearAt]<std::size_t... pair>(std::index_sequence<pair...>) { (clearAt(pair * kPair), ...); }
  (std::make_index_sequence<bytes / kPair>());
  clearAt(bytes - kPair);
}

class RecordCache {
 public:
#if defined(__SANITIZE_ADDRESS__)
  static constexpr std::uint32_t kLimit = 0;
#else
  static constexpr std::uint32_t kLimit = 4096;
#endif

  // A zeroed record, or null when the heap has no room. REQUIRES: one cache is always asked for the same size.
  void* take(std::size_t bytes) noexcept {
    if (first_) return std::memset(takeFirst(), 0, bytes);
    void* const record = heap::allocateZeroed(bytes);
    fetch(reinterpret_cast<std::uintptr_t>(record) + kRecordsAhead * bytes);
    return record;
  }

  // The same. REQUIRES: the cache is not empty.
  template <std::size_t bytes>
  void* takeAtHand() noexcept {
    void* const record = takeFirst();
    clearInPlace<bytes>(record);
    return record;
  }

  bool isEmpty() const noexcept { return !first_; }

  void giveBack(void* record, std::size_t bytes) noexcept {
    if (count_ >= kLimit) return heap::release(record, bytes);
    first_ = new (record) Link{first_};
    ++count_;
  }

  void destroy(std::size_t bytes) noexcept {
    while (Link* const record = first_) {
      first_ = record->next;
      heap::release(record, bytes);
    }
    count_ = 0;
  }

 private:
  struct Link {
    Link* next;
  };

  // A heap that has nothing to reuse hands out blocks one after another.
  static constexpr std::size_t kRecordsAhead = 8;

  // Has the processor fetch a record, or what else is there; a null or invalid address is harmless.
  static void fetch(std::uintptr_t record) noexcept {
    __builtin_prefetch(reinterpret_cast<const void*>(record), 1);
    __builtin_prefetch(reinterpret_cast<const void*>(record + 64), 1);
  }

  // The next one may have left the processor's cache since it was given back.
  void* takeFirst() noexcept {
    Link* const record = first_;
    first_ = record->next;
    --count_;
    fetch(reinterpret_cast<std::uintptr_t>(first_));
    return record;
  }

  Link* first_;
  std::uint32_t count_;
};

}  // namespace arbtree

#endif
