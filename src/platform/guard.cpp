#include "platform/guard.h"

#include <new>

#include "arbtree/rtcore.h"
#include "platform/closed_libraries.h"

#if defined(__GLIBCXX__)
#include <cxxabi.h>
#endif

namespace arbtree {

// A forced unwinding carries no exception object, so the reference that catches it is bound to nothing, which the
// undefined-behaviour sanitizer would take for a fault.
#if defined(__GNUC__)
__attribute__((no_sanitize("null")))
#endif
std::uint32_t
runGuarded(const ProducerCall& call) {
  std::uint32_t code;
  try {
    return call.entry(call.argument1, call.argument2, call.argument3);
  } catch (const RtCodedException& exception) {
    code = exception.code;
  } catch (const std::bad_alloc&) {
    code = RT_CODE_NOMEMORY;
#if defined(__GLIBCXX__)
  } catch (abi::__forced_unwind&) {
    throw;
#endif
  } catch (...) {
    code = RT_CODE_CPP_EXCEPTION;
  }
  return RtTranslateException(code);
}

}  // namespace arbtree
