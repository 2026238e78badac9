#include "support/small_stack.h"

#include <cstddef>
#include <cstdlib>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <pthread.h>
#endif

namespace arbtree::test {

namespace {
// Instrumented frames are larger; the depth of the trees under test is far beyond either size.
#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t kStackBytes = 1024 * 1024;
#else
constexpr std::size_t kStackBytes = 256 * 1024;
#endif
}  // namespace

#ifdef _WIN32

namespace {
DWORD WINAPI run(void* work) {
  (*static_cast<const std::function<void()>*>(work))();
  return 0;
}
}  // namespace

void onSmallStack(const std::function<void()>& work) {
  void* const argument = const_cast<std::function<void()>*>(&work);
  const HANDLE thread = CreateThread(nullptr, kStackBytes, run, argument, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  if (!thread) std::abort();
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
}

#else

namespace {
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

#endif

}  // namespace arbtree::test
