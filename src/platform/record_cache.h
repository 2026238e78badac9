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

#include "platform/heap.h"

namespace arbtree {

class RecordCache {
 public:
#if defined(__SANITIZE_ADDRESS__)
  static constexpr std::uint32_t kLimit = 0;
#else
  static constexpr std::uint32_t kLimit = 4096;
#endif

  // A zeroed record, or null when the heap has no room. REQUIRES: one cache is always asked for the same size.
  void* take(std::size_t bytes) noexcept {
    if (!first_) return heap::allocateZeroed(bytes);
    Link* const record = first_;
    first_ = record->next;
    --count_;
    return std::memset(static_cast<void*>(record), 0, bytes);
  }

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
  Link* first_;
  std::uint32_t count_;
};

}  // namespace arbtree

#endif
