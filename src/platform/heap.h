// The process heap: every record, table and buffer of the library comes from here, so every allocation failure is seen
// here. Windows: GetProcessHeap; elsewhere: the C heap. A release says the block's size where the caller knows it, so
// that a faster allocator can stand behind these functions.
//
// In a build with ARBTREE_TEST_HEAP the heap counts its live blocks and can be told to fail.
#ifndef ARBTREE_PLATFORM_HEAP_H
#define ARBTREE_PLATFORM_HEAP_H

#include <cstddef>
#include <cstdint>

namespace arbtree::heap {

// Null when the heap has no room. A size of 0 is answered with a block that can be released.
[[nodiscard]] void* allocate(std::size_t bytes) noexcept;
[[nodiscard]] void* allocateZeroed(std::size_t bytes) noexcept;

// Null is ignored. `bytes` is the size that was asked for.
void release(void* block) noexcept;
void release(void* block, std::size_t bytes) noexcept;

// A block that the process heap handed out elsewhere and that is ours now (a path name from baseutil).
void releaseAdopted(void* block) noexcept;

template <typename Record>
[[nodiscard]] Record* allocateRecord() noexcept {
  return static_cast<Record*>(allocateZeroed(sizeof(Record)));
}

// Null as well when the byte count would not fit in a size_t.
template <typename Entry>
[[nodiscard]] Entry* allocateArray(std::size_t count) noexcept {
  if (count > SIZE_MAX / sizeof(Entry)) return nullptr;
  return static_cast<Entry*>(allocateZeroed(count * sizeof(Entry)));
}

#ifdef ARBTREE_TEST_HEAP
namespace testing {
// The n-th allocation from now on fails (n counts from 1); with `forever` so does every one after it.
void failAllocation(std::uint64_t n, bool forever);
void stopFailing();
bool failureFired();
std::uint64_t liveBlocks();
}  // namespace testing
#endif

}  // namespace arbtree::heap

#endif
