// Everything goes through descriptors of folders that were opened without following links.
#include "target_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utf8.h>
#include <utf8proc.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace arbtree::tool {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

std::string systemReason() { return std::strerror(errno); }

std::vector<std::string_view> partsOf(std::string_view path) {
  std::vector<std::string_view> parts;
  while (!path.empty()) {
    const std::size_t slash = std::min(path.find('/'), path.size());
    if (path.substr(0, slash) != ".") parts.push_back(path.substr(0, slash));
    path.remove_prefix(std::min(slash + 1, path.size()));
  }
  return parts;
}

std::string join(const std::vector<std::string_view>& parts, std::size_t count) {
  std::string path;
  for (std::size_t i = 0; i < count; ++i) path += (i == 0 ? "" : "/") + std::string(parts[i]);
  return path;
}

// The system's calls would take what comes before it for the whole.
bool hasZeroByte(std::string_view text) { return text.find('\0') != std::string_view::npos; }

bool beginsWithDrive(std::string_view part) {
  return part.size() > 1 && part[1] == ':' && std::isalpha(static_cast<unsigned char>(part[0]));
}

// A link stays inside when it goes up only at its beginning and no higher than the folder. As the link's own folders
// are real ones, that holds however many links lead to each other.
bool staysInside(const std::string& path, std::string_view target) {
  if (target.empty() || target[0] == '/' || hasZeroByte(target)) return false;
  std::size_t depth = partsOf(path).size() - 1;
  bool wentDown = false;
  for (const std::string_view part : partsOf(target)) {
    if (part != "..") {
      wentDown = true;
    } else if (wentDown || depth-- == 0) {
      return false;
    }
  }
  return true;
}

// As the system's calls take them; what is not known stays as it is.
struct Times {
  timespec values[2] = {{0, UTIME_OMIT}, {0, UTIME_OMIT}};
  explicit Times(const MemberFacts& facts) {
    if (facts.hasTime) values[1] = {static_cast<time_t>(facts.time), static_cast<long>(facts.nanoseconds)};
  }
};

// REQUIRES: the text is UTF-8.
std::string foldedText(std::string_view text) {
  utf8proc_uint8_t* form = nullptr;
  const auto options = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_CASEFOLD);
  const utf8proc_ssize_t length = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                               static_cast<utf8proc_ssize_t>(text.size()), &form, options);
  std::string result =
      length < 0 ? std::string(text) : std::string(reinterpret_cast<char*>(form), static_cast<std::size_t>(length));
  std::free(form);
  return result;
}

// Bytes that are no text stand for themselves.
std::string folded(std::string_view path) {
  std::string result;
  while (!path.empty()) {
    const auto end = utf8::find_invalid(path.begin(), path.end());
    const auto length = static_cast<std::size_t>(end - path.begin());
    result += foldedText(path.substr(0, length));
    result += path.substr(length, 1);
    path.remove_prefix(std::min(length + 1, path.size()));
  }
  return result;
}

}  // namespace

std::string withoutDots(std::string_view path) {
  const auto parts = partsOf(path);
  return join(parts, parts.size());
}

std::string nameProblem(std::string_view path) {
  if (path.empty()) return "it has no name";
  if (path[0] == '/') return "its name is absolute";
  if (path.size() >= PATH_MAX) return "its name is longer than a path of the system can be";
  if (hasZeroByte(path)) return "its name has a zero byte";
  if (path.find('\\') != std::string_view::npos) return "its name has a backslash";
  if (path.find("//") != std::string_view::npos) return "its name is absolute or has an empty part";
  const auto parts = partsOf(path);
  if (std::find(parts.begin(), parts.end(), "..") != parts.end()) return "its name leads outside";
  const auto isDrive = [](std::string_view part) { return part.size() == 2 && beginsWithDrive(part); };
  if (!parts.empty() && (beginsWithDrive(parts[0]) || std::any_of(parts.begin(), parts.end(), isDrive))) {
    return "its name has a drive letter";
  }
  return "";
}

TargetFolder::TargetFolder(const std::string& path, bool refuseAliases)
    : refuseAliases_(refuseAliases), mask_(umask(0)) {
  umask(mask_);
  root_ = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (root_ < 0) error_ = systemReason();
}

TargetFolder::~TargetFolder() {
  if (current_ >= 0) close(current_);
  if (root_ >= 0) close(root_);
}

// --- Finding places --------------------------------------------------------------------------------------------------

TargetFolder::Place TargetFolder::findPlace(const std::string& path, bool make) {
  Place place;
  place.problem = nameProblem(path);
  if (place.problem.empty() && make) place.problem = aliasProblem(path);
  if (!place.problem.empty()) return place;
  const auto parts = partsOf(path);
  if (parts.empty()) {
    place.problem = "it has no name";
    return place;
  }
  place.problem = openFolder(join(parts, parts.size() - 1), make);
  place.folder = current_;
  place.name = parts.back();
  return place;
}

// Makes the folder the current one. Members of one folder mostly come one after the other.
std::string TargetFolder::openFolder(std::string_view path, bool make) {
  if (current_ >= 0 && path == currentPath_) return "";
  int folder = fcntl(root_, F_DUPFD_CLOEXEC, 0);
  std::string way;
  for (const std::string_view part : partsOf(path)) {
    if (folder < 0) break;
    const std::string name(part);
    way += (way.empty() ? "" : "/") + name;
    if (make && mkdirat(folder, name.c_str(), 0777) == 0) {
      made_.insert(way);
    } else if (make && errno != EEXIST) {
      close(folder);
      return systemReason();
    }
    const int inner = openat(folder, name.c_str(), kFolderFlags);
    const int problem = errno;
    close(folder);
    if (inner < 0 && (problem == ENOTDIR || problem == ELOOP)) return "a file or a symbolic link is in the way";
    errno = problem;
    folder = inner;
  }
  if (folder < 0) return systemReason();
  if (current_ >= 0) close(current_);
  current_ = folder;
  currentPath_ = path;
  return "";
}

std::string TargetFolder::aliasProblem(std::string_view path) {
  if (!refuseAliases_) return "";
  const auto parts = partsOf(path);
  for (std::size_t count = 1; count <= parts.size(); ++count) {
    const std::string name = join(parts, count);
    const auto [at, isNew] = names_.emplace(folded(name), name);
    if (!isNew && at->second != name) return "its name differs from an earlier one only by case or normal form";
  }
  return "";
}

// --- Making things ---------------------------------------------------------------------------------------------------

// Makes something beside a place, under a name that nothing has.
template <typename Make>
bool TargetFolder::makeTemporary(const Place& place, std::string& temporary, Make make) {
  for (;;) {
    temporary = ".arbtree-" + std::to_string(getpid()) + "-" + std::to_string(++temporaries_);
    if (temporary == place.name) continue;
    if (make()) return true;
    if (errno != EEXIST) return false;
  }
}

std::string TargetFolder::writeFile(const std::string& path, const MemberFacts& facts, ByteSource* content) {
  const Place place = findPlace(path, true);
  if (!place.problem.empty()) return place.problem;
  std::string temporary;
  int file = -1;
  const auto make = [&] {
    file = openat(place.folder, temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    return file >= 0;
  };
  if (!makeTemporary(place, temporary, make)) return systemReason();
  std::string problem = fill(file, content);
  if (problem.empty() && fchmod(file, modeFor(facts)) != 0) problem = systemReason();
  futimens(file, Times(facts).values);
  if (close(file) != 0 && problem.empty()) problem = systemReason();
  if (problem.empty()) return takeName(place, temporary);
  unlinkat(place.folder, temporary.c_str(), 0);
  return problem;
}

std::string TargetFolder::fill(int file, ByteSource* content) {
  while (content) {
    const auto block = content->next();
    if (!block) return content->error();
    if (block->empty()) break;
    for (std::size_t at = 0; at < block->size();) {
      const ssize_t count = write(file, block->data() + at, block->size() - at);
      if (count < 0 && errno != EINTR) return systemReason();
      if (count > 0) at += static_cast<std::size_t>(count);
    }
  }
  return "";
}

// A rename of two names of one file does nothing, so the temporary one may still be there.
std::string TargetFolder::takeName(const Place& place, const std::string& temporary) {
  std::string problem;
  if (renameat(place.folder, temporary.c_str(), place.folder, place.name.c_str()) != 0) problem = systemReason();
  unlinkat(place.folder, temporary.c_str(), 0);
  return problem;
}

std::string TargetFolder::makeFolder(const std::string& path, const MemberFacts& facts) {
  std::string problem = nameProblem(path);
  if (problem.empty()) problem = aliasProblem(path);
  const auto parts = partsOf(path);
  if (!problem.empty() || parts.empty()) return problem;
  const std::string whole = join(parts, parts.size());
  problem = openFolder(whole, true);
  if (!problem.empty()) return problem;
  if (fchmod(current_, modeFor(facts) | 0700) != 0) return systemReason();
  folders_.insert_or_assign(whole, facts);
  return "";
}

std::string TargetFolder::linkHard(const std::string& path, const std::string& target) {
  std::string problem = nameProblem(target);
  if (!problem.empty()) return "the target of the hard link is refused: " + problem;
  const Place from = findPlace(target, false);
  if (!from.problem.empty()) return "the target of the hard link: " + from.problem;
  struct stat status;
  if (fstatat(from.folder, from.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return "the target of the hard link was not extracted";
  }
  if (!S_ISREG(status.st_mode)) return "the target of the hard link is no file";
  const int source = fcntl(from.folder, F_DUPFD_CLOEXEC, 0);
  const Place to = findPlace(path, true);
  problem = to.problem;
  if (problem.empty()) {
    std::string temporary;
    const auto make = [&] { return linkat(source, from.name.c_str(), to.folder, temporary.c_str(), 0) == 0; };
    problem = makeTemporary(to, temporary, make) ? takeName(to, temporary) : systemReason();
  }
  close(source);
  return problem;
}

std::string TargetFolder::linkSymbolic(const std::string& path, const std::string& target, const MemberFacts& facts) {
  std::string problem = nameProblem(path);
  if (problem.empty()) problem = aliasProblem(path);
  if (problem.empty() && !staysInside(path, target)) problem = "the symbolic link leads outside";
  if (problem.empty()) links_.push_back({path, target, facts});
  return problem;
}

// An older link gives way, everything else was extracted under the name and stays.
std::string TargetFolder::makeLink(const PendingLink& link) {
  const Place place = findPlace(link.path, true);
  if (!place.problem.empty()) return place.problem;
  struct stat status;
  if (fstatat(place.folder, place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
    if (!S_ISLNK(status.st_mode)) return "something else has the name of the symbolic link";
    unlinkat(place.folder, place.name.c_str(), 0);
  }
  if (symlinkat(link.target.c_str(), place.folder, place.name.c_str()) != 0) return systemReason();
  utimensat(place.folder, place.name.c_str(), Times(link.facts).values, AT_SYMLINK_NOFOLLOW);
  return "";
}

std::string TargetFolder::finishFolder(const std::string& path, const MemberFacts& facts) {
  const std::string problem = openFolder(path, false);
  if (!problem.empty()) return problem;
  if (fchmod(current_, modeFor(facts)) != 0) return systemReason();
  futimens(current_, Times(facts).values);
  return "";
}

std::vector<TargetFolder::Refusal> TargetFolder::finish() {
  std::vector<Refusal> refusals;
  const auto note = [&](const std::string& path, const std::string& problem) {
    if (!problem.empty()) refusals.push_back({path, problem});
  };
  for (const PendingLink& link : links_) note(link.path, makeLink(link));
  for (auto folder = folders_.rbegin(); folder != folders_.rend(); ++folder) {
    note(folder->first, finishFolder(folder->first, folder->second));
  }
  return refusals;
}

}  // namespace arbtree::tool
