#include "platform/guard.h"

#include "arbtree/rtcore.h"
#include "platform/closed_libraries.h"

namespace arbtree {

// A forced unwinding carries no exception object, so the reference that catches it is bound to nothing, which the
// undefined-behaviour sanitizer would take for a fault.
#if defined(__GNUC__)
__attribute__((no_sanitize("null")))
#endif
GuardedOutcome
runCatching(const ProducerCall& call) {
  try {
    return {false, call.entry(call.argument1, call.argument2, call.argument3)};
#if defined(__GLIBCXX__)
  } catch (abi::__forced_unwind&) {
    throw;
#endif
  } catch (...) {
    return {true, RtCodeOfException()};
  }
}

std::uint32_t runGuarded(const ProducerCall& call) {
#ifdef _WIN32
  const GuardedOutcome outcome = runInExceptionFrame(call);
#else
  const GuardedOutcome outcome = runCatching(call);
#endif
  return outcome.raised ? RtTranslateException(outcome.value) : outcome.value;
}

}  // namespace arbtree
