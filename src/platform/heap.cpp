#include "platform/heap.h"

#include <cstring>

#ifdef _WIN32
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#else
#include <cstdlib>
#endif

namespace arbtree::heap {

namespace {

#ifdef ARBTREE_TEST_HEAP
std::uint64_t untilFailure = 0;  // 0: not failing
bool failingForever = false;
bool fired = false;
std::uint64_t live = 0;

bool refuses() {
  if (untilFailure == 0) return false;
  if (untilFailure > 1) {
    --untilFailure;
    return false;
  }
  fired = true;
  if (!failingForever) untilFailure = 0;
  return true;
}

void* counted(void* block) {
  if (block) ++live;
  return block;
}
#endif

#ifdef _WIN32
void* systemAllocate(std::size_t bytes, bool zeroed) noexcept {
  return HeapAlloc(GetProcessHeap(), zeroed ? HEAP_ZERO_MEMORY : 0, bytes);
}
void systemRelease(void* block) noexcept { HeapFree(GetProcessHeap(), 0, block); }
#else
// malloc and memset beat calloc for the small records that make up nearly all requests.
constexpr std::size_t kSmall = 4096;

void* systemAllocate(std::size_t bytes, bool zeroed) noexcept {
  if (zeroed && bytes > kSmall) return std::calloc(1, bytes);
  void* const block = std::malloc(bytes ? bytes : 1);
  if (block && zeroed) std::memset(block, 0, bytes);
  return block;
}
void systemRelease(void* block) noexcept { std::free(block); }
#endif

void* request(std::size_t bytes, bool zeroed) noexcept {
#ifdef ARBTREE_TEST_HEAP
  if (refuses()) return nullptr;
  return counted(systemAllocate(bytes, zeroed));
#else
  return systemAllocate(bytes, zeroed);
#endif
}

}  // namespace

void* allocate(std::size_t bytes) noexcept { return request(bytes, false); }

void* allocateZeroed(std::size_t bytes) noexcept { return request(bytes, true); }

void release(void* block) noexcept {
  if (!block) return;
#ifdef ARBTREE_TEST_HEAP
  --live;
#endif
  systemRelease(block);
}

void release(void* block, std::size_t) noexcept { release(block); }

void releaseAdopted(void* block) noexcept {
  if (block) systemRelease(block);
}

#ifdef ARBTREE_TEST_HEAP
namespace testing {
void failAllocation(std::uint64_t n, bool forever) {
  untilFailure = n;
  failingForever = forever;
  fired = false;
}
void stopFailing() { untilFailure = 0; }
bool failureFired() { return fired; }
std::uint64_t liveBlocks() { return live; }
}  // namespace testing
#endif

}  // namespace arbtree::heap
