// The compwrite stand-in: the writer of each host context, and the directory writer.
#include "arbtree/compwrite.h"

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/answer.h"
#include "common/export.h"
#include "common/immortal.h"
#include "compwrite/document_path.h"
#include "compwrite/pending_file.h"

namespace {

using arbtree::standins::answer;

constexpr std::uint32_t kBufferSize = 65536;

// What the directory writer works with.
struct Target {
  std::u16string directory;
  CompContentProvider provider;
  void* providerData;
};

struct Writer {
  CompWriter function;
  void* data;
  std::shared_ptr<const Target> target;  // the directory writer's data; null for a host's own function
};

struct Registry {
  std::mutex mutex;
  std::unordered_map<const ArbHostContext*, Writer> writers;
};

Registry& registry() { return arbtree::standins::immortal<Registry>(); }

std::uint32_t setWriter(const ArbHostContext* hostContext, Writer writer) {
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  all.writers.insert_or_assign(hostContext, std::move(writer));
  return ARB_OK;
}

// Copies the content from the provider into the file, up to its end.
std::uint32_t fill(arbtree::standins::PendingFile& pending, const Target& target, ArbFile* file,
                   std::uint32_t argument) {
  std::vector<unsigned char> buffer(kBufferSize);
  std::uint64_t offset = 0;
  for (;;) {
    std::uint32_t count = 0;
    std::uint32_t status =
        target.provider(file, argument, offset, buffer.data(), kBufferSize, &count, target.providerData);
    if (status != ARB_OK || count == 0) return status;
    if (count > kBufferSize) return COMPWRITE_ERR_CONTENT;
    status = pending.append(buffer.data(), count);
    if (status != ARB_OK) return status;
    offset += count;
  }
}

std::uint32_t ARB_CALL writeToDirectory(ArbHostContext*, ArbFile* file, std::uint32_t argument, void* writerData) {
  const Target& target = *static_cast<const Target*>(writerData);
  return answer([&] {
    std::vector<std::u16string> parts;
    std::uint32_t status = arbtree::standins::documentPathParts(file->child, &parts);
    arbtree::standins::PendingFile pending;
    if (status == ARB_OK) status = pending.open(target.directory, parts);
    if (status == ARB_OK) status = fill(pending, target, file, argument);
    if (status == ARB_OK) status = pending.commit();
    return status;
  });
}

// A copy, so that the writer runs without the lock; its function is null when there is none.
Writer findWriter(const ArbHostContext* hostContext) {
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  const auto found = all.writers.find(hostContext);
  return found == all.writers.end() ? Writer{} : found->second;
}

}  // namespace

STANDIN_EXPORT std::uint32_t ARB_CALL CompWriteSetWriter(ArbHostContext* hostContext, CompWriter writer,
                                                         void* writerData) {
  if (!hostContext || !writer) return ARB_ERR_BADARG;
  return answer([&] { return setWriter(hostContext, {writer, writerData, nullptr}); });
}

STANDIN_EXPORT std::uint32_t ARB_CALL CompWriteSetDirectory(ArbHostContext* hostContext, const char16_t* directory,
                                                            CompContentProvider provider, void* providerData) {
  if (!hostContext || !directory || !provider) return ARB_ERR_BADARG;
  return answer([&] {
    auto target = std::make_shared<Target>(Target{directory, provider, providerData});
    void* const data = target.get();
    return setWriter(hostContext, {writeToDirectory, data, std::move(target)});
  });
}

STANDIN_EXPORT std::uint32_t ARB_CALL CompWriteRemoveWriter(ArbHostContext* hostContext) {
  Registry& all = registry();
  const std::lock_guard lock(all.mutex);
  return all.writers.erase(hostContext) ? ARB_OK : COMPWRITE_ERR_NO_WRITER;
}

STANDIN_EXPORT std::uint32_t ARB_CALL CompWriteFile(ArbHostContext* hostContext, ArbFile* file,
                                                    std::uint32_t argument) {
  if (!file) return ARB_ERR_BADARG;
  const Writer writer = findWriter(hostContext);
  if (!writer.function) return COMPWRITE_ERR_NO_WRITER;
  return writer.function(hostContext, file, argument, writer.data);
}
