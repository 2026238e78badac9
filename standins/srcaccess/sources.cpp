// Sources: the pair of file handles behind each source handle. The paths themselves are kept by baseutil.
#include <mutex>

#include "arbtree/baseutil.h"
#include "arbtree/srcaccess.h"
#include "common/answer.h"
#include "common/export.h"
#include "common/handle_table.h"
#include "common/immortal.h"

namespace {

// A file handle of baseutil that is released with its owner; 0 is none.
class FileHandle {
 public:
  FileHandle() = default;
  FileHandle(FileHandle&& other) noexcept : handle_(std::exchange(other.handle_, 0)) {}
  FileHandle& operator=(FileHandle&&) = delete;
  ~FileHandle() {
    if (handle_) BaseReleaseHandle(handle_);
  }

  std::uint32_t open(const char16_t* path) { return path ? BaseRegisterPath(path, &handle_) : ARB_OK; }
  std::uint32_t value() const { return handle_; }

 private:
  std::uint32_t handle_ = 0;
};

struct Source {
  FileHandle input;
  FileHandle output;
};

struct Registry {
  std::mutex mutex;
  arbtree::standins::HandleTable<Source> sources{0x53524341u};
};

Registry& registry() { return arbtree::standins::immortal<Registry>(); }

std::uint32_t getHandle(std::uint32_t source, FileHandle Source::*which, std::uint32_t* fileHandle) {
  if (!fileHandle) return ARB_ERR_BADARG;
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  const Source* const found = all.sources.find(source);
  if (!found) return SRC_ERR_SOURCE;
  const std::uint32_t handle = (found->*which).value();
  if (!handle) return SRC_ERR_NO_FILE;
  *fileHandle = handle;
  return ARB_OK;
}

}  // namespace

STANDIN_EXPORT std::uint32_t ARB_CALL SrcOpen(const char16_t* inputPath, const char16_t* outputPath,
                                              std::uint32_t* source) {
  if (!source) return ARB_ERR_BADARG;
  Source opened;
  std::uint32_t status = opened.input.open(inputPath);
  if (status == ARB_OK) status = opened.output.open(outputPath);
  if (status != ARB_OK) return status;
  Registry& all = registry();
  return arbtree::standins::answer([&] {
    const std::lock_guard lock(all.mutex);
    *source = all.sources.insert(std::move(opened));
    return ARB_OK;
  });
}

STANDIN_EXPORT std::uint32_t ARB_CALL SrcClose(std::uint32_t source) {
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  return all.sources.erase(source) ? ARB_OK : SRC_ERR_SOURCE;
}

STANDIN_EXPORT std::uint32_t ARB_CALL SrcGetFileHandle(std::uint32_t source, std::uint32_t* fileHandle) {
  return getHandle(source, &Source::input, fileHandle);
}

STANDIN_EXPORT std::uint32_t ARB_CALL SrcGetOutputFileHandle(std::uint32_t source, std::uint32_t* fileHandle) {
  return getHandle(source, &Source::output, fileHandle);
}
