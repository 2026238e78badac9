#include "support/bail_out.h"

#include "arbtree/baseutil.h"

#ifdef _WIN32
#include <windows.h>

#include <csetjmp>
#endif

namespace arbtree::test {

#ifdef _WIN32

namespace {

// A frame on the thread's chain of exception handlers, as a host's compiler would make one.
struct Catcher {
  Catcher* outer;
  EXCEPTION_DISPOSITION(__cdecl* handler)(EXCEPTION_RECORD*, Catcher*, CONTEXT*, void*);
  void* scopes;
  LONG tryBlock;
  std::uint32_t code;
  std::jmp_buf entry;
};

EXCEPTION_DISPOSITION __cdecl catchBailOut(EXCEPTION_RECORD* record, Catcher* catcher, CONTEXT*, void*) {
  const bool unwinding = (record->ExceptionFlags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND)) != 0;
  if (unwinding || record->ExceptionCode != BASE_EXCEPTION_BAIL_OUT) return ExceptionContinueSearch;
  catcher->code = static_cast<std::uint32_t>(record->ExceptionInformation[0]);
  std::longjmp(catcher->entry, 1);
}

}  // namespace

std::optional<std::uint32_t> bailOutOf(const std::function<void()>& work) {
  const auto head = reinterpret_cast<Catcher*>(__readfsdword(0));
  Catcher catcher{head, catchBailOut, nullptr, -1, 0, {}};
  asm volatile("movl %0, %%fs:0" : : "r"(&catcher) : "memory");
  const bool abandoned = setjmp(catcher.entry) != 0;
  if (!abandoned) work();
  asm volatile("movl %0, %%fs:0" : : "r"(head) : "memory");
  if (!abandoned) return std::nullopt;
  return catcher.code;
}

#else

std::optional<std::uint32_t> bailOutOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const BaseBailOutException& bailOut) {
    return bailOut.code;
  }
  return std::nullopt;
}

#endif

}  // namespace arbtree::test
