// Structured exceptions of 32-bit Windows, which GCC has no statement to catch.
//
// Each thread has a chain of frames on its stack, from the innermost call outwards; its head is the first word of the
// thread's block, at fs:0. Windows asks the frames' handlers in turn what to do about an exception, and tells them when
// an outer frame has taken it. Here a frame is put on the chain by hand. Its handler takes every exception and leaves
// by longjmp, which unwinds the frames inside this one; then this one is the head again and is taken off the chain.
#include <malloc.h>
#include <windows.h>

#include <csetjmp>
#include <cstddef>

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

EXCEPTION_DISPOSITION __cdecl takeException(EXCEPTION_RECORD* record, ExceptionFrame* frame, CONTEXT*, void*) {
  // Somebody further out has taken an exception, or leaves by longjmp, and the frame goes with the stack it is on.
  if (record->ExceptionFlags & (EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND)) return ExceptionContinueSearch;
  frame->code = record->ExceptionCode;
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
  GuardedOutcome outcome;
  if (setjmp(frame.entry) == 0) {
    outcome = runCatching(call);
  } else {
    restoreMachine(frame);
    outcome = {true, frame.code};
  }
  setChainHead(frame.outer);
  return outcome;
}

}  // namespace arbtree
