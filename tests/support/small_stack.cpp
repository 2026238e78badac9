#include "support/small_stack.h"

#include <pthread.h>

#include <cstddef>
#include <cstdlib>

namespace arbtree::test {

namespace {
// Instrumented frames are larger; the depth of the trees under test is far beyond either size.
#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t kStackBytes = 1024 * 1024;
#else
constexpr std::size_t kStackBytes = 256 * 1024;
#endif

void* run(void* work) {
  (*static_cast<const std::function<void()>*>(work))();
  return nullptr;
}
}  // namespace

void onSmallStack(const std::function<void()>& work) {
  pthread_attr_t attributes;
  pthread_t thread;
  void* const argument = const_cast<std::function<void()>*>(&work);
  if (pthread_attr_init(&attributes) != 0 || pthread_attr_setstacksize(&attributes, kStackBytes) != 0 ||
      pthread_create(&thread, &attributes, run, argument) != 0) {
    std::abort();
  }
  pthread_attr_destroy(&attributes);
  pthread_join(thread, nullptr);
}

}  // namespace arbtree::test
