// Writing members of an archive below a directory. All system calls name their file by one part in an open directory.
#include "target_directory.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <random>
#include <stdexcept>
#include <system_error>

namespace arbtree::tool {
namespace {

constexpr int kOpenDirectory = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kAnyDirectory = 0777;  // for directories that no member describes: what the user's mask leaves
constexpr std::size_t kLongestPart = NAME_MAX;
constexpr std::size_t kPathLimit = PATH_MAX;

constexpr std::string_view kLinkInTheWay = "a symbolic link is in the way";
constexpr std::string_view kFileInTheWay = "a file is in the way";
constexpr std::string_view kDirectoryInTheWay = "a directory is in the way";
constexpr std::string_view kSameName = "the path differs from an earlier one only by case or by Unicode normal form";

// Cuts the next part off `rest`, passing over "." and empty parts. An empty answer is the end.
std::string_view nextPart(std::string_view& rest) {
  std::string_view part;
  while ((part.empty() || part == ".") && !rest.empty()) {
    const std::size_t end = std::min(rest.find('/'), rest.size());
    part = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return part == "." ? std::string_view() : part;
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool startsWithDrive(std::string_view part) {
  return part.size() >= 2 && part[1] == ':' && lower(part[0]) >= 'a' && lower(part[0]) <= 'z';
}

// Canonically decomposed and case-folded. A name that is not UTF-8 has no Unicode form; of it ASCII alone is folded.
std::string folded(const std::string& name) {
  utf8proc_uint8_t* text = nullptr;
  const utf8proc_ssize_t length =
      utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(name.data()), static_cast<utf8proc_ssize_t>(name.size()),
                   &text, static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE | UTF8PROC_CASEFOLD));
  if (length == UTF8PROC_ERROR_NOMEM) throw std::bad_alloc();
  std::string result = length < 0 ? name : std::string(reinterpret_cast<char*>(text), static_cast<std::size_t>(length));
  std::free(text);
  if (length < 0) std::transform(result.begin(), result.end(), result.begin(), lower);
  return result;
}

// Whether a link in a directory of that path stays in the target. A link's directory is a real one, so leading ".."
// lead where they seem to lead; the names after them lead downwards, or through links that stay inside as well.
bool staysInside(std::string_view directory, std::string_view target) {
  constexpr std::string_view kNever("\\\0", 2);
  if (target.empty() || target.front() == '/' || target.find_first_of(kNever) != target.npos) return false;
  bool hasName = false;
  while (true) {
    const std::string_view part = nextPart(target);
    if (part.empty()) return true;
    hasName = hasName || part != "..";
    if (part == ".." && (hasName || nextPart(directory).empty())) return false;
  }
}

bool isKind(const Descriptor& directory, const char* name, mode_t kind) {
  struct stat status;
  return fstatat(directory.get(), name, &status, AT_SYMLINK_NOFOLLOW) == 0 && (status.st_mode & S_IFMT) == kind;
}

mode_t fileMode(const TargetAttributes& attributes) { return (attributes.mode & 0777) | S_IRUSR | S_IWUSR; }
mode_t directoryMode(const TargetAttributes& attributes) { return (attributes.mode & 0777) | S_IRWXU; }

// Times of access (kept) and modification.
std::array<timespec, 2> timesOf(const TargetAttributes& attributes) {
  timespec kept{};
  kept.tv_nsec = UTIME_OMIT;
  timespec modified{};
  modified.tv_sec = static_cast<time_t>(attributes.modified);
  return {kept, attributes.hasModified ? modified : kept};
}

}  // namespace

bool Descriptor::close() {
  const int number = std::exchange(number_, -1);
  return number < 0 || ::close(number) == 0 || errno == EINTR;  // the number is free after EINTR too
}

TargetDirectory::TargetDirectory(const std::string& path, bool foldNames)
    : foldNames_(foldNames), lastTemporary_(std::random_device()()) {
  // Links on the way to the target and the target itself are the user's own, and followed.
  const bool isMade = mkdir(path.c_str(), kAnyDirectory) == 0 || errno == EEXIST;
  if (isMade) root_ = Descriptor(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (root_.isOpen()) current_.descriptor = Descriptor(openat(root_.get(), ".", kOpenDirectory));
  if (!current_.descriptor.isOpen()) throw std::runtime_error(std::generic_category().message(errno));
}

std::string TargetDirectory::refuse(std::string_view reason) {
  isRefusal_ = true;
  return std::string(reason);
}

std::string TargetDirectory::fail(int error) {
  isRefusal_ = false;
  return std::generic_category().message(error);
}

// Why `name` could not be opened as a directory.
std::string TargetDirectory::failAt(const Directory& directory, const char* name, int error) {
  if (error != ENOTDIR && error != ELOOP) return fail(error);
  return refuse(isKind(directory.descriptor, name, S_IFLNK) ? kLinkInTheWay : kFileInTheWay);
}

std::string TargetDirectory::parse(std::string_view path, Place& place) {
  if (path.empty()) return refuse("the path is empty");
  if (path.front() == '/') return refuse("the path is absolute");
  if (path.find('\\') != path.npos) return refuse("a backslash is in the path");
  if (path.find('\0') != path.npos) return refuse("a zero byte is in the path");
  for (std::string_view part = nextPart(path); !part.empty(); part = nextPart(path)) {
    if (part == "..") return refuse("the path leads out of the target");
    if (part.size() > kLongestPart) return refuse("a name in the path is too long");
    if (place.path.empty() && startsWithDrive(part)) return refuse("the path starts with a drive letter");
    if (!place.path.empty()) place.path += '/';
    place.path += part;
  }
  return place.path.size() < kPathLimit ? std::string() : refuse("the path is too long");
}

// Takes a name in a directory; false when another spelling of it is taken. `number` becomes that of the name.
bool TargetDirectory::claim(std::uint64_t directory, const std::string& name, std::uint64_t& number) {
  if (!foldNames_) return true;
  const Name fresh{name, names_.size() + 1};
  const Name& taken = names_.try_emplace({directory, folded(name)}, fresh).first->second;
  number = taken.number;
  return taken.spelling == name;
}

// Goes from a directory to one in it, which is made if there is a mode for it.
std::string TargetDirectory::openPart(Directory& at, const std::string& name, const mode_t* mode) {
  if (mode && !claim(at.number, name, at.number)) return refuse(kSameName);
  Descriptor next(openat(at.descriptor.get(), name.c_str(), kOpenDirectory));
  if (mode && !next.isOpen() && errno == ENOENT) {
    if (mkdirat(at.descriptor.get(), name.c_str(), *mode) != 0 && errno != EEXIST) return fail(errno);
    next = Descriptor(openat(at.descriptor.get(), name.c_str(), kOpenDirectory));
  }
  if (!next.isOpen()) return failAt(at, name.c_str(), errno);
  at.descriptor = std::move(next);
  return {};
}

// Opens the directory of a path. With a mode missing directories are made, the last one with that mode.
std::string TargetDirectory::walk(const std::string& path, const mode_t* mode, Directory& found) {
  Directory at{path, Descriptor(openat(root_.get(), ".", kOpenDirectory))};
  if (!at.descriptor.isOpen()) return fail(errno);
  std::string_view rest = path;
  for (std::string_view part = nextPart(rest); !part.empty(); part = nextPart(rest)) {
    const std::string_view soFar(path.data(), static_cast<std::size_t>(part.data() + part.size() - path.data()));
    if (links_.find(soFar) != links_.end()) return refuse(kLinkInTheWay);
    const mode_t* const partMode = mode && !rest.empty() ? &kAnyDirectory : mode;
    if (std::string reason = openPart(at, std::string(part), partMode); !reason.empty()) return reason;
  }
  found = std::move(at);
  return {};
}

// Makes a directory the current one.
std::string TargetDirectory::enter(const std::string& directory, mode_t mode) {
  abandonFile();
  return directory == current_.path ? std::string() : walk(directory, &mode, current_);
}

// Makes the directory of a member that has a name of its own the current one, and takes the name.
std::string TargetDirectory::enterParent(const Place& place) {
  if (place.path.empty()) return refuse("the path is that of the target");
  if (std::string reason = enter(place.directory(), kAnyDirectory); !reason.empty()) return reason;
  std::uint64_t number = 0;
  return claim(current_.number, place.name(), number) ? std::string() : refuse(kSameName);
}

// Calls `make` with names until one is free. False, with errno, when it fails in another way.
template <typename Make>
bool TargetDirectory::makeTemporary(Make make) {
  do {
    std::string name = ".arbtree-" + std::to_string(++lastTemporary_);
    if (make(name.c_str())) {
      temporary_ = std::move(name);
      return true;
    }
  } while (errno == EEXIST);
  return false;
}

std::string TargetDirectory::moveIntoPlace(const Place& place) {
  const int directory = current_.descriptor.get();
  const int error = renameat(directory, temporary_.c_str(), directory, place.name()) == 0 ? 0 : errno;
  abandonFile();  // also when all went well: where both names are of one file, the system has left the temporary one
  if (error != 0) return error == EISDIR ? refuse(kDirectoryInTheWay) : fail(error);
  links_.erase(place.path);
  return {};
}

std::string TargetDirectory::makeDirectory(std::string_view path, const TargetAttributes& attributes) {
  Place place;
  std::string reason = parse(path, place);
  if (reason.empty()) reason = enter(place.path, directoryMode(attributes));
  if (reason.empty() && !place.path.empty()) directories_[place.path] = attributes;
  return reason;
}

std::string TargetDirectory::beginFile(std::string_view path, const TargetAttributes& attributes) {
  Place place;
  std::string reason = parse(path, place);
  if (reason.empty()) reason = enterParent(place);
  if (!reason.empty()) return reason;
  const bool isMade = makeTemporary([this](const char* name) {
    file_ = Descriptor(openat(current_.descriptor.get(), name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    return file_.isOpen();
  });
  if (!isMade) return fail(errno);
  place_ = std::move(place);
  attributes_ = attributes;
  return {};
}

std::string TargetDirectory::write(const void* bytes, std::size_t size) {
  const char* next = static_cast<const char*>(bytes);
  const char* const end = next + size;
  while (next != end) {
    const ssize_t count = ::write(file_.get(), next, static_cast<std::size_t>(end - next));
    if (count >= 0) {
      next += count;
    } else if (errno != EINTR) {
      const int error = errno;
      abandonFile();
      return fail(error);
    }
  }
  return {};
}

std::string TargetDirectory::commitFile() {
  const bool isWhole = fchmod(file_.get(), fileMode(attributes_)) == 0 &&
                       futimens(file_.get(), timesOf(attributes_).data()) == 0 && file_.close();
  if (isWhole) return moveIntoPlace(place_);
  const int error = errno;
  abandonFile();
  return fail(error);
}

void TargetDirectory::abandonFile() {
  file_.close();
  if (!temporary_.empty()) unlinkat(current_.descriptor.get(), temporary_.c_str(), 0);
  temporary_.clear();
}

std::string TargetDirectory::addSymlink(std::string_view path, std::string_view target) {
  Place place;
  if (std::string reason = parse(path, place); !reason.empty()) return reason;
  if (!staysInside(place.directory(), target)) return refuse("the link leads out of the target");
  if (std::string reason = enterParent(place); !reason.empty()) return reason;
  if (isKind(current_.descriptor, place.name(), S_IFDIR)) return refuse(kDirectoryInTheWay);
  links_[place.path] = target;
  return {};
}

std::string TargetDirectory::addHardLink(std::string_view path, std::string_view existing) {
  constexpr std::string_view kNoFile = "what the link names is no regular file in the target";
  Place place;
  Place source;
  Directory from;
  std::string reason = parse(path, place);
  if (reason.empty()) reason = parse(existing, source);
  if (reason.empty()) reason = walk(source.directory(), nullptr, from);
  if (!reason.empty()) return reason;
  const bool isLink = links_.find(source.path) != links_.end();
  if (isLink || !isKind(from.descriptor, source.name(), S_IFREG)) return refuse(kNoFile);
  if (reason = enterParent(place); !reason.empty()) return reason;
  const bool isMade = makeTemporary([&](const char* name) {
    return linkat(from.descriptor.get(), source.name(), current_.descriptor.get(), name, 0) == 0;
  });
  if (!isMade) return fail(errno);
  // Looked at again: another program may have put something else in the file's place meanwhile.
  if (isKind(current_.descriptor, temporary_.c_str(), S_IFREG)) return moveIntoPlace(place);
  abandonFile();
  return refuse(kNoFile);
}

std::string TargetDirectory::makeSymlink(const Place& place, const std::string& target) {
  if (std::string reason = enterParent(place); !reason.empty()) return reason;
  const bool isMade =
      makeTemporary([&](const char* name) { return symlinkat(target.c_str(), current_.descriptor.get(), name) == 0; });
  return isMade ? moveIntoPlace(place) : fail(errno);
}

std::string TargetDirectory::setAttributes(const std::string& directory, const TargetAttributes& attributes) {
  Directory found;
  if (std::string reason = walk(directory, nullptr, found); !reason.empty()) return reason;
  const int number = found.descriptor.get();
  const bool isSet = fchmodat(number, ".", directoryMode(attributes), 0) == 0 &&
                     utimensat(number, ".", timesOf(attributes).data(), 0) == 0;
  return isSet ? std::string() : fail(errno);
}

std::vector<std::pair<std::string, std::string>> TargetDirectory::finish() {
  abandonFile();
  std::vector<std::pair<std::string, std::string>> failed;
  const auto note = [&failed](const std::string& path, std::string reason) {
    if (!reason.empty()) failed.emplace_back(path, std::move(reason));
  };
  // From here on the links that are made stand in the way themselves.
  for (const auto& [path, target] : std::exchange(links_, {})) note(path, makeSymlink({path}, target));
  // A path is less than those that it starts.
  for (auto it = directories_.rbegin(); it != directories_.rend(); ++it)
    note(it->first, setAttributes(it->first, it->second));
  return failed;
}

}  // namespace arbtree::tool
