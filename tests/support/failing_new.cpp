#ifndef _WIN32

#include "support/failing_new.h"

#include <cstdlib>
#include <new>

namespace {
thread_local int untilFailure = 0;  // 0: not failing
}  // namespace

void* operator new(std::size_t bytes) {
  if (untilFailure && --untilFailure == 0) throw std::bad_alloc();
  if (void* const block = std::malloc(bytes ? bytes : 1)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace arbtree::test {

FailingNew::FailingNew(int n) { untilFailure = n; }
FailingNew::~FailingNew() { untilFailure = 0; }
bool FailingNew::fired() const { return untilFailure == 0; }

}  // namespace arbtree::test

#endif
