// Path names behind file handles.
#include <cstring>
#include <mutex>
#include <string>

#ifdef _WIN32
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#else
#include <cstdlib>
#endif

#include "arbtree/baseutil.h"
#include "common/answer.h"
#include "common/export.h"
#include "common/handle_table.h"
#include "common/immortal.h"

namespace {

struct Registry {
  std::mutex mutex;
  arbtree::standins::HandleTable<std::u16string> paths{0x42415345u};
};

Registry& registry() { return arbtree::standins::immortal<Registry>(); }

void* allocateFromProcessHeap(std::size_t bytes) {
#ifdef _WIN32
  return HeapAlloc(GetProcessHeap(), 0, bytes);
#else
  return std::malloc(bytes);
#endif
}

}  // namespace

STANDIN_EXPORT std::uint32_t ARB_CALL BaseRegisterPath(const char16_t* path, std::uint32_t* fileHandle) {
  if (!path || !fileHandle) return ARB_ERR_BADARG;
  Registry& all = registry();
  return arbtree::standins::answer([&] {
    std::u16string copy(path);
    const std::lock_guard lock(all.mutex);
    *fileHandle = all.paths.insert(std::move(copy));
    return ARB_OK;
  });
}

STANDIN_EXPORT std::uint32_t ARB_CALL BaseReleaseHandle(std::uint32_t fileHandle) {
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  return all.paths.erase(fileHandle) ? ARB_OK : BASE_ERR_HANDLE;
}

STANDIN_EXPORT std::uint32_t ARB_CALL BaseFillPathName(std::uint32_t fileHandle, BasePathName* record) {
  if (!record) return ARB_ERR_BADARG;
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  const std::u16string* const path = all.paths.find(fileHandle);
  if (!path) return BASE_ERR_HANDLE;
  const std::size_t bytes = (path->size() + 1) * sizeof(char16_t);
  void* const copy = allocateFromProcessHeap(bytes);
  if (!copy) return ARB_ERR_NOMEMORY;
  std::memcpy(copy, path->c_str(), bytes);
  record->ownField = static_cast<std::uint32_t>(path->size());
  record->path = static_cast<char16_t*>(copy);
  return ARB_OK;
}
