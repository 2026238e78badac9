// The host's say: the functions of each status context, the status callback, and the bail-out.
//
// A bail-out may leave by longjmp or by an exception, so BaseBailOut and BaseStatusCallback hold no lock and nothing
// that needs destruction while a host's function runs.
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#ifdef _WIN32
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#endif

#include "arbtree/baseutil.h"
#include "common/answer.h"
#include "common/export.h"
#include "common/immortal.h"

namespace {

struct Registry {
  std::shared_mutex mutex;  // read after every run of every document, written when a host sets something
  std::unordered_map<std::uint32_t, BaseHostFunctions> contexts;
  BaseHostFunctions fallback{};
};

Registry& registry() { return arbtree::standins::immortal<Registry>(); }

// The status context that was answered last on this thread: the one that a bail-out is about.
struct LastAnswered {
  bool known;
  std::uint32_t statusContext;
};
thread_local LastAnswered lastAnswered{};

BaseHostFunctions fallbackFunctions() {
  Registry& all = registry();
  const std::shared_lock lock(all.mutex);
  return all.fallback;
}

BaseHostFunctions functionsOf(std::uint32_t statusContext) {
  Registry& all = registry();
  const std::shared_lock lock(all.mutex);
  const auto found = all.contexts.find(statusContext);
  return found == all.contexts.end() ? all.fallback : found->second;
}

void raiseBailOut(std::uint32_t code) {
#ifdef _WIN32
  const ULONG_PTR parameter = code;
  RaiseException(BASE_EXCEPTION_BAIL_OUT, EXCEPTION_NONCONTINUABLE, 1, &parameter);
#else
  throw BaseBailOutException{code};
#endif
}

}  // namespace

STANDIN_EXPORT std::uint32_t ARB_CALL BaseSetHostFunctions(std::uint32_t statusContext,
                                                           const BaseHostFunctions* functions) {
  Registry& all = registry();
  return arbtree::standins::answer([&] {
    const std::unique_lock lock(all.mutex);
    if (!functions) return all.contexts.erase(statusContext) ? ARB_OK : ARB_ERR_NOTFOUND;
    all.contexts.insert_or_assign(statusContext, *functions);
    return ARB_OK;
  });
}

STANDIN_EXPORT void ARB_CALL BaseSetDefaultHostFunctions(const BaseHostFunctions* functions) {
  Registry& all = registry();
  const std::unique_lock lock(all.mutex);
  all.fallback = functions ? *functions : BaseHostFunctions{};
}

STANDIN_EXPORT std::uint32_t ARB_CALL BaseStatusCallback(std::uint32_t statusContext, std::uint32_t, std::uint32_t) {
  const BaseHostFunctions functions = functionsOf(statusContext);
  const std::uint32_t result = functions.status ? functions.status(statusContext, functions.hostData) : 0;
  // Last, as the host's function may itself have worked with another document.
  lastAnswered = {true, statusContext};
  return result;
}

STANDIN_EXPORT void ARB_CALL BaseBailOut(std::uint32_t code, std::uint32_t, std::uint32_t) {
  const LastAnswered last = lastAnswered;
  const BaseHostFunctions functions = last.known ? functionsOf(last.statusContext) : fallbackFunctions();
  if (!functions.bailOut) return raiseBailOut(code);
  functions.bailOut(code, last.statusContext, functions.hostData);
}
