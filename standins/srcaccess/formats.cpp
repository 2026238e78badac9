// Formats: the file extension of each format id. Three are built in and cannot be changed.
#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>
#include <string>
#include <unordered_map>

#include "arbtree/srcaccess.h"
#include "common/answer.h"
#include "common/export.h"
#include "common/immortal.h"

namespace {

static_assert(SRC_MAX_EXTENSION + 1 == sizeof(SrcFormatInfo::extension));
static_assert(offsetof(SrcFormatInfo, extension) == 8);

struct BuiltinFormat {
  std::uint32_t id;
  const char* extension;
};

constexpr std::array kBuiltinFormats{
    BuiltinFormat{SRC_FORMAT_TREE, "xml"},
    BuiltinFormat{SRC_FORMAT_ARCHIVE, "tar"},
    BuiltinFormat{SRC_FORMAT_FOREST, "zip"},
};

const char* findBuiltin(std::uint32_t formatId) {
  const auto found = std::find_if(kBuiltinFormats.begin(), kBuiltinFormats.end(),
                                  [formatId](const BuiltinFormat& format) { return format.id == formatId; });
  return found == kBuiltinFormats.end() ? nullptr : found->extension;
}

struct Registry {
  std::mutex mutex;
  std::unordered_map<std::uint32_t, std::string> formats;  // never a built-in id
};

Registry& registry() { return arbtree::standins::immortal<Registry>(); }

std::uint32_t fill(SrcFormatInfo* info, std::uint32_t formatId, const char* extension, std::size_t length) {
  *info = {};
  info->ownFields[0] = formatId;
  info->ownFields[1] = static_cast<std::uint32_t>(length);
  std::memcpy(info->extension, extension, length);
  return ARB_OK;
}

}  // namespace

STANDIN_EXPORT std::uint32_t ARB_CALL SrcRegisterFormat(std::uint32_t formatId, const char* extension) {
  if (!extension) return ARB_ERR_BADARG;
  const void* const end = std::memchr(extension, 0, SRC_MAX_EXTENSION + 1);
  if (!end) return ARB_ERR_BADARG;
  if (findBuiltin(formatId)) return SRC_ERR_DUPLICATE;
  Registry& all = registry();
  return arbtree::standins::answer([&] {
    const std::lock_guard lock(all.mutex);
    return all.formats.try_emplace(formatId, extension).second ? ARB_OK : SRC_ERR_DUPLICATE;
  });
}

STANDIN_EXPORT std::uint32_t ARB_CALL SrcUnregisterFormat(std::uint32_t formatId) {
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  return all.formats.erase(formatId) ? ARB_OK : SRC_ERR_UNKNOWN_FORMAT;
}

STANDIN_EXPORT std::uint32_t ARB_CALL SrcGetFormatInfo(std::uint32_t formatId, std::uint32_t, SrcFormatInfo* info) {
  if (!info) return ARB_ERR_BADARG;
  if (const char* const extension = findBuiltin(formatId)) {
    return fill(info, formatId, extension, std::strlen(extension));
  }
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  const auto found = all.formats.find(formatId);
  if (found == all.formats.end()) return SRC_ERR_UNKNOWN_FORMAT;
  return fill(info, formatId, found->second.data(), found->second.size());
}
