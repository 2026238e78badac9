// The rtcore stand-in: the translations that hosts have set, over one built-in rule.
#include "arbtree/rtcore.h"

#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include "common/answer.h"
#include "common/export.h"
#include "common/immortal.h"

namespace {

struct Registry {
  std::shared_mutex mutex;  // many producers may fail at once; translations are rarely set
  std::unordered_map<std::uint32_t, std::uint32_t> translations;
};

Registry& registry() { return arbtree::standins::immortal<Registry>(); }

}  // namespace

STANDIN_EXPORT std::uint32_t ARB_CALL RtSetTranslation(std::uint32_t exceptionCode, std::uint32_t status) {
  Registry& all = registry();
  return arbtree::standins::answer([&] {
    const std::unique_lock lock(all.mutex);
    all.translations.insert_or_assign(exceptionCode, status);
    return ARB_OK;
  });
}

STANDIN_EXPORT std::uint32_t ARB_CALL RtRemoveTranslation(std::uint32_t exceptionCode) {
  Registry& all = registry();
  const std::unique_lock lock(all.mutex);
  return all.translations.erase(exceptionCode) ? ARB_OK : ARB_ERR_NOTFOUND;
}

STANDIN_EXPORT std::uint32_t ARB_CALL RtTranslateException(std::uint32_t exceptionCode) {
  Registry& all = registry();
  const std::shared_lock lock(all.mutex);
  const auto found = all.translations.find(exceptionCode);
  if (found != all.translations.end()) return found->second;
  return exceptionCode == RT_CODE_NOMEMORY ? ARB_ERR_NOMEMORY : RT_STATUS_EXCEPTION;
}
