// Structured exceptions of 32-bit Windows, which GCC has no statement to catch.
//
// Each thread has a chain of frames on its stack, from the innermost call outwards; its head is the first word of the
// thread's block, at fs:0. Windows asks the frames' handlers in turn what to do about an exception, and tells them when
// an outer frame has taken it. Here a frame is put on the chain by hand. Its handler takes every exception and leaves
// by longjmp, which unwinds the frames inside this one; then this one is the head again and is taken off the chain.
//
// C++ exceptions of GCC are none of these. Each module usually has a runtime of its own, which finds no handler in the
// frames of another module; then it calls terminate and that calls abort, for which the C library has a signal. Its
// handler leaves to the innermost frame in the same way.
#include <malloc.h>
#include <windows.h>

#include <csetjmp>
#include <csignal>
#include <cstddef>

#include "arbtree/rtcore.h"
#include "platform/guard.h"

#ifndef __i386__
#error "This guard is written for 32-bit x86; other targets have other means for structured exceptions."
#endif

namespace arbtree {
namespace {

// The first four words are laid out as Microsoft's compiler lays its frames out, because the C library's setjmp and
// longjmp take every frame for one of them: they remember the number of its innermost try block, here always none, and
// compare it.
struct ExceptionFrame {
  ExceptionFrame* outer;
  EXCEPTION_DISPOSITION(__cdecl* handler)(EXCEPTION_RECORD*, ExceptionFrame*, CONTEXT*, void*);
  void* scopes;
  LONG tryBlock;
  std::uint32_t code;  // of the exception taken
  std::jmp_buf entry;
};
static_assert(offsetof(ExceptionFrame, tryBlock) == 12);

ExceptionFrame* chainHead() {
  ExceptionFrame* head;
  asm volatile("movl %%fs:0, %0" : "=r"(head));
  return head;
}

void setChainHead(ExceptionFrame* head) { asm volatile("movl %0, %%fs:0" : : "r"(head) : "memory"); }

void onAbort(int);

// The handler of SIGABRT is the process's. It is ours while any thread is in a producer, then the host's again.
SRWLOCK abortLock = SRWLOCK_INIT;
std::uint32_t abortWatchers = 0;
void (*hostsAbortHandler)(int) = nullptr;

void watchAborts() {
  AcquireSRWLockExclusive(&abortLock);
  if (abortWatchers++ == 0) hostsAbortHandler = std::signal(SIGABRT, onAbort);
  ReleaseSRWLockExclusive(&abortLock);
}

void unwatchAborts() {
  AcquireSRWLockExclusive(&abortLock);
  if (--abortWatchers == 0) std::signal(SIGABRT, hostsAbortHandler);
  ReleaseSRWLockExclusive(&abortLock);
}

EXCEPTION_DISPOSITION __cdecl takeException(EXCEPTION_RECORD* record, ExceptionFrame* frame, CONTEXT*, void*) {
  // Somebody further out has taken an exception, or leaves by longjmp, and the frame goes with the stack it is on.
  if (record->ExceptionFlags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND)) {
    unwatchAborts();
    return ExceptionContinueSearch;
  }
  frame->code = record->ExceptionCode;
  std::longjmp(frame->entry, 1);
}

// Null when this thread is in no producer.
ExceptionFrame* innermostGuard() {
  const auto end = reinterpret_cast<ExceptionFrame*>(~std::uintptr_t{0});
  for (ExceptionFrame* frame = chainHead(); frame != end; frame = frame->outer) {
    if (frame->handler == takeException) return frame;
  }
  return nullptr;
}

// The C library has put its own handler in our place before it calls ours, and ends the process when we return.
void onAbort(int signal) {
  ExceptionFrame* const frame = innermostGuard();
  if (!frame) {
    const auto host = hostsAbortHandler;
    if (host != SIG_DFL && host != SIG_IGN) host(signal);
    return;
  }
  std::signal(SIGABRT, onAbort);
  frame->code = RT_CODE_CPP_EXCEPTION;
  std::longjmp(frame->entry, 1);
}

// What an exception in the middle of anything leaves to be put right: values on the x87 stack and exceptions pending
// there (the control word stays as it is), and after an overflow of the stack the page that guards its end.
void restoreMachine(const ExceptionFrame& frame) {
  std::uint16_t control;
  asm volatile("fnstcw %0\n\tfninit\n\tfldcw %0" : "=m"(control));
  if (frame.code == static_cast<std::uint32_t>(EXCEPTION_STACK_OVERFLOW)) _resetstkoflw();
}

}  // namespace

GuardedOutcome runInExceptionFrame(const ProducerCall& call) {
  ExceptionFrame frame{chainHead(), takeException, nullptr, -1, 0, {}};
  setChainHead(&frame);
  watchAborts();
  GuardedOutcome outcome;
  if (setjmp(frame.entry) == 0) {
    outcome = runCatching(call);
  } else {
    restoreMachine(frame);
    outcome = {true, frame.code};
  }
  unwatchAborts();
  setChainHead(frame.outer);
  return outcome;
}

}  // namespace arbtree
