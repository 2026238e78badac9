// `arbtree extract`: writes the files of an input below a directory, through the writer of the host context.
#include <fnmatch.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "arbtree/compwrite.h"
#include "child_info.h"
#include "commands.h"
#include "run_command.h"
#include "target_directory.h"

namespace arbtree::tool {
namespace {

constexpr std::size_t kCopyBytes = std::size_t{64} * 1024;

TargetAttributes attributesOf(ArbForestChild& child) {
  TargetAttributes attributes;
  const std::uint32_t mode = memberMode(child);
  if (mode != 0) attributes.mode = mode;
  if (const auto modified = memberModified(child)) {
    attributes.modified = *modified;
    attributes.hasModified = true;
  }
  return attributes;
}

class Extracting : public ChildVisitor {
 public:
  Extracting(const ExtractOptions& options, ContentDocument& document, Report& report)
      : pattern_(options.pattern),
        document_(document),
        report_(report),
        target_(std::make_unique<TargetDirectory>(options.directory, options.foldNames)),
        buffer_(kCopyBytes) {}
  ~Extracting() { CompWriteRemoveWriter(document_.host()); }
  Extracting(const Extracting&) = delete;
  Extracting& operator=(const Extracting&) = delete;

  bool enterChild(ArbForestChild& child) {
    if (!isWanted(child)) return true;
    if (child.kind != ARB_CHILD_FILE) {
      // The directory that stands for an archive comes with the first file in it.
      return true;
    }
    auto* const file = reinterpret_cast<ArbFile*>(&child);
    if (CompWriteSetWriter(document_.host(), write, this) != ARB_OK) throw std::bad_alloc();
    ArbFileWrite(file, 0);
    return true;
  }

  // What can only be done once all files are there.
  void finish() {
    for (const auto& [path, reason] : target_->finish())
      report_.failure(displayName(path), std::nullopt, reason, kFailure);
  }

 private:
  // The writer that the library calls. What went wrong has been reported by the time it answers.
  static std::uint32_t ARB_CALL write(ArbHostContext*, ArbFile* file, std::uint32_t, void* self) {
    auto& extracting = *static_cast<Extracting*>(self);
    const std::string reason = extracting.writeMember(file);
    if (reason.empty()) return ARB_OK;
    extracting.report_.failure(displayPath(file->child), std::nullopt, reason, kFailure);
    return COMPWRITE_ERR_IO;
  }

  bool isWanted(ArbForestChild& child) const {
    return pattern_.empty() || fnmatch(pattern_.c_str(), displayPath(child).c_str(), FNM_NOESCAPE) == 0;
  }

  // Why it was not written; empty when it was.
  std::string writeMember(ArbFile* file) {
    ArbForestChild& child = file->child;
    const std::string path = memberPath(child);
    switch (memberTypeOf(child)) {
      case MemberType::directory:
        return target_->makeDirectory(path, attributesOf(child));
      case MemberType::symbolicLink:
        return target_->addSymlink(path, memberLink(child));
      case MemberType::hardLink:
        return target_->addHardLink(path, besides(child, memberLink(child)));
      case MemberType::other:
        return "neither a file nor a directory nor a link: not extracted";
      case MemberType::file:
        break;
    }
    std::string reason = target_->beginFile(path, attributesOf(child));
    if (reason.empty()) reason = copyContent(file);
    if (reason.empty()) return target_->commitFile();
    target_->abandonFile();
    return reason;
  }

  std::string copyContent(ArbFile* file) {
    for (;;) {
      if (isInterrupted()) return "interrupted";
      const auto count = document_.producer().readFile(file, buffer_.data(), buffer_.size());
      if (!count) return document_.producer().fileError();
      if (*count == 0) return {};
      if (std::string reason = target_->write(buffer_.data(), *count); !reason.empty()) return reason;
    }
  }

  // The path of a member that a hard link in the same archive names.
  static std::string besides(ArbForestChild& child, const std::string& name) {
    const std::string archive = child.parent->child.parent ? memberPath(child.parent->child) + '/' : std::string();
    return archive + name;
  }

  const std::string& pattern_;
  ContentDocument& document_;
  Report& report_;
  std::unique_ptr<TargetDirectory> target_;
  std::vector<char> buffer_;
};

}  // namespace

int runExtract(const ExtractOptions& options) {
  Wanted wanted;
  wanted.xmlAsFiles = true;
  wanted.files = true;
  wanted.archives = !options.keepArchives;
  wanted.plainIsXml = false;
  return runCommand(
      options.common, wanted, false,
      [&](ContentDocument& document, OutputFile&, Report& report) { return Extracting(options, document, report); },
      [](Extracting& extracting, ContentDocument&, OutputFile&, Report&) { extracting.finish(); });
}

}  // namespace arbtree::tool
