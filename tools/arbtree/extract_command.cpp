// `arbtree extract`: writes the members out below a folder. Files go through the library's file children: the writer
// that compwrite has for this host takes the content from the producer, which waits at the file.
#include <fnmatch.h>

#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "arbtree/compwrite.h"
#include "commands.h"
#include "member_name.h"
#include "node_links.h"
#include "session.h"
#include "target_folder.h"

namespace arbtree::tool {
namespace {

constexpr std::uint32_t kNotWritten = 1;

class Extraction {
 public:
  Extraction(Session& session, const ExtractOptions& options, TargetFolder& target)
      : session_(session), options_(options), target_(target) {
    if (CompWriteSetWriter(&session.document.host(), write, this) != ARB_OK) throw std::bad_alloc();
  }
  ~Extraction() { CompWriteRemoveWriter(&session_.document.host()); }
  Extraction(const Extraction&) = delete;
  Extraction& operator=(const Extraction&) = delete;

  bool enter(ArbForestChild& child) {
    path_ = pathOf(child);
    if (!isWanted(path_) && !standForWanted(child)) return true;
    found_ = true;
    tellOfSharing(child);
    refuseIf(child.kind == ARB_CHILD_FOREST ? target_.makeFolder(path_, folderFacts(child)) : extract(child));
    return true;
  }
  void leave(ArbForest&) {}

  void finish() {
    const bool isWhole = session_.problems.status() == 0;
    if (!found_ && isWhole && !options_.pattern.empty())
      session_.problems.member("", "no member matches " + shown(options_.pattern));
    refuseBrokenLinks();
    for (const auto& [path, reason] : target_.finish()) session_.problems.member(path, "refused: " + reason);
  }

 private:
  // A pattern for a folder or an archive is one for all that is in it. Folders are listed with a slash behind them.
  bool isWanted(const std::string& path) const {
    std::string pattern = options_.pattern;
    if (pattern.size() > 1 && pattern.ends_with('/')) pattern.pop_back();
    return pattern.empty() || fnmatch(pattern.c_str(), shown(path).c_str(), FNM_NOESCAPE | FNM_LEADING_DIR) == 0;
  }

  std::string extract(ArbForestChild& child) {
    const MemberFacts facts = factsOf(child);
    if (facts.link == LinkKind::symbolic) return target_.linkSymbolic(path_, bytesOf(child, kMemberLink), facts);
    if (facts.link == LinkKind::hard) return linkHard(hardTarget(child));
    switch (facts.mode & AE_IFMT) {
      case AE_IFDIR:
        return target_.makeFolder(path_, facts);
      case AE_IFREG:
      case 0:
        if (ArbFileWrite(asFile(&child), 0) != ARB_OK) return problem_;
        if (!bytesOf(child, kMemberLink).empty()) shareContent(hardTarget(child));
        return "";
      default:
        return "it is a device or another special file";
    }
  }

  // The folder that stands for an archive may be one that has members of the archive around it too.
  void tellOfSharing(ArbForestChild& child) {
    if (!nameProblem(path_).empty()) return;
    const std::string path = withoutDots(path_);
    std::string shared;
    if (child.kind == ARB_CHILD_FOREST) {
      if (target_.hasMade(path)) shared = path;
      unpacked_.insert(path);
    } else if (!unpacked_.empty()) {
      const bool isNested = child.parent && child.parent->child.parent;
      const std::size_t own = isNested ? withoutDots(pathOf(child.parent->child)).size() : 0;
      for (std::size_t end = path.find('/', own + 1); end != std::string::npos; end = path.find('/', end + 1)) {
        if (unpacked_.erase(path.substr(0, end)) != 0) shared = path.substr(0, end);
      }
    }
    if (shared.empty()) return;
    session_.problems.member(shared,
                             "its folder has members from around the archive too; of two with one name the last "
                             "is kept");
  }

  // A file that is not wanted may still have the content of earlier names of it that are: it is then extracted under
  // the first of these.
  bool standForWanted(ArbForestChild& child) {
    if (child.kind != ARB_CHILD_FILE || factsOf(child).link != LinkKind::none) return false;
    if (bytesOf(child, kMemberLink).empty()) return false;
    const std::string target = hardTarget(child);
    const auto linked = links_.find(target);
    if (isWanted(target) && nameProblem(target).empty()) {
      path_ = target;
    } else if (linked != links_.end()) {
      path_ = linked->second.front().path;
    } else {
      return false;
    }
    return true;
  }

  // A link that cannot be made may still get its content from a later name of the file.
  std::string linkHard(const std::string& target) {
    links_[target].push_back({path_, target_.linkHard(path_, target), linkCount_++});
    return "";
  }

  // The content of a file came with a later one of its names: the target and the links before get it now. A target that
  // is refused has been told to be.
  void shareContent(const std::string& target) {
    std::vector<HardLink> links = std::move(links_[target]);
    links_.erase(target);
    if (isWanted(target) && nameProblem(target).empty()) links.push_back({target, "", linkCount_++});
    for (const HardLink& link : links) {
      if (link.path != path_) refuseIfNot(link.path, target_.linkHard(link.path, path_));
    }
  }

  void refuseBrokenLinks() {
    std::map<std::uint64_t, const HardLink*> broken;
    for (const auto& [target, links] : links_) {
      for (const HardLink& link : links) {
        if (!link.problem.empty()) broken.emplace(link.number, &link);
      }
    }
    for (const auto& [number, link] : broken) refuseIfNot(link->path, link->problem);
  }

  void refuseIfNot(const std::string& path, const std::string& problem) {
    if (!problem.empty()) session_.problems.member(path, "refused: " + problem);
  }

  // Of the folder that stands for an archive: the archive's own, but for the mode of a file.
  static MemberFacts folderFacts(ArbForestChild& archive) {
    MemberFacts facts = factsOf(archive);
    facts.mode = 0777;
    return facts;
  }

  // Links name members of their own archive.
  static std::string hardTarget(ArbForestChild& child) {
    const std::string target = bytesOf(child, kMemberLink);
    const bool isNested = child.parent && child.parent->child.parent;
    return isNested && !target.starts_with('/') ? pathOf(child.parent->child) + "/" + target : target;
  }

  static std::uint32_t ARB_CALL write(ArbHostContext*, ArbFile* file, std::uint32_t, void* self) {
    auto& extraction = *static_cast<Extraction*>(self);
    extraction.problem_ = extraction.target_.writeFile(extraction.path_, factsOf(file->child),
                                                       extraction.session_.document.producer().fileContent());
    return extraction.problem_.empty() ? ARB_OK : kNotWritten;
  }

  // A limit is told by the producer.
  void refuseIf(const std::string& problem) {
    if (problem.empty() || !session_.document.producer().budget().isWithin()) return;
    const ByteSource* const content = session_.document.producer().fileContent();
    const bool isDamaged = content && content->error() == problem;
    session_.problems.member(path_, isDamaged ? problem : "refused: " + problem);
  }

  struct HardLink {
    std::string path;
    std::string problem;   // empty once it is made
    std::uint64_t number;  // in the order of the archives
  };

  Session& session_;
  const ExtractOptions& options_;
  TargetFolder& target_;
  bool found_ = false;                        // something that is wanted
  std::unordered_set<std::string> unpacked_;  // archives whose folders are theirs alone, as far as is known
  std::string path_;                          // of the current member
  std::unordered_map<std::string, std::vector<HardLink>> links_;  // by their target
  std::uint64_t linkCount_ = 0;
  std::string problem_;  // of the file written last
};

}  // namespace

int runExtract(const ExtractOptions& options) {
  Wishes wishes;
  wishes.inputIsXml = false;
  wishes.parsesXml = false;
  wishes.readsFiles = true;
  if (options.keepArchives) wishes.wantsMembers = [](const std::string&) { return false; };
  Session session(options.common, std::move(wishes), false);
  TargetFolder target(options.folder, options.refuseAliases);
  if (!target.error().empty()) {
    std::fprintf(stderr, "arbtree: %s: %s\n", shown(options.folder).c_str(), target.error().c_str());
    return kInputFailed;
  }
  Extraction extraction(session, options, target);
  session.document.walkMembers(extraction);
  extraction.finish();
  return session.finish();
}

}  // namespace arbtree::tool
