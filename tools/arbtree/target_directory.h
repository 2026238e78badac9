// The directory that members of an archive are written to, by a program that trusts no archive. What must hold,
// whatever the members are called and in whatever order they come:
//
// 1. Nothing outside the target is made, changed or linked to. No part of a path is ever followed through a symbolic
//    link: directories are opened one part at a time. Symbolic links are made last, and none leads out of the target.
// 2. A file has its name only when it is whole. Until then it has a temporary name in the same directory, which every
//    error, abandonFile() and the destructor take away.
// 3. Memory grows with directories and links, and with plain files only where names are folded.
#ifndef ARBTREE_TOOL_TARGET_DIRECTORY_H
#define ARBTREE_TOOL_TARGET_DIRECTORY_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace arbtree::tool {

// What a member of an archive asks for beside its content.
struct TargetAttributes {
  // Permission bits. Set-user-id, set-group-id and sticky are dropped; the owner always keeps the rights to read and to
  // write, and those of directories to enter.
  std::uint32_t mode = 0644;
  std::int64_t modified = 0;  // seconds since 1970
  bool hasModified = false;
};

// Owns one descriptor of the system.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { close(); }

  int get() const { return number_; }
  bool isOpen() const { return number_ >= 0; }
  // False when the system kept an error of an earlier write until now.
  bool close();

 private:
  int number_ = -1;
};

// Each call about a member answers an empty string when all went well, else the reason for a message; isRefusal() tells
// of which kind the last reason was. A path is the raw bytes of the member's path, with "/" between its parts; "." and
// empty parts are passed over. Refused are paths that are empty or absolute, that start with a drive letter, that hold
// "..", a backslash or a zero byte, and those that no system call could take: parts over 255 bytes, 4096 bytes in all.
class TargetDirectory {
 public:
  // Makes the directory where it is missing, but not its parents; throws std::runtime_error where it cannot be opened.
  // `foldNames` refuses a name that differs from an earlier one of the same directory only by case or by Unicode normal
  // form, as some file systems take the two for one. A name counts from the first member that asks for it.
  TargetDirectory(const std::string& path, bool foldNames);
  ~TargetDirectory() { abandonFile(); }
  TargetDirectory(const TargetDirectory&) = delete;
  TargetDirectory& operator=(const TargetDirectory&) = delete;

  // Makes what is missing of the path. Permissions and time are set by finish(), as members to come change the time.
  // The target directory itself ("./") stays as it is.
  std::string makeDirectory(std::string_view path, const TargetAttributes& attributes);

  // Begins a file; missing directories are made. It is committed or abandoned before the next member; one that the
  // caller forgot is abandoned when another member is made.
  std::string beginFile(std::string_view path, const TargetAttributes& attributes);
  // REQUIRES: a file has begun. A failure abandons it.
  std::string write(const void* bytes, std::size_t size);
  // REQUIRES: a file has begun. Gives the file its permissions, its time and its name. What has that name already, from
  // this run or from before, is replaced and never followed; only a directory refuses.
  std::string commitFile();
  void abandonFile();

  // Remembers a symbolic link, which finish() makes unless a later member takes its name. Refused unless the target,
  // resolved from the link's place, stays in the target directory. ".." counts only before all names: after a name that
  // may be a link itself it could lead anywhere.
  std::string addSymlink(std::string_view path, std::string_view target);
  // Gives a file a second name. `existing` must be a regular file in the target directory, reached without following a
  // link; whether this run wrote it is not asked, since no set of the files written is kept.
  std::string addHardLink(std::string_view path, std::string_view existing);

  // Makes the symbolic links, then sets permissions and times of directories, deepest first. Answers the path and the
  // reason of each that failed. To be called once, after all members.
  std::vector<std::pair<std::string, std::string>> finish();

  // Of the last reason: true for a refusal by rule, false for a failure of the system.
  bool isRefusal() const { return isRefusal_; }

 private:
  // A member's path without "." and empty parts; empty for the target directory itself.
  struct Place {
    std::string path;

    std::size_t nameStart() const { return path.rfind('/') + 1; }  // 0 where there is no "/"
    std::string directory() const { return path.substr(0, nameStart() ? nameStart() - 1 : 0); }
    const char* name() const { return path.c_str() + nameStart(); }
  };
  // An open directory. The number stands for it in `names_`; that of the target directory is 0.
  struct Directory {
    std::string path;
    Descriptor descriptor;
    std::uint64_t number = 0;
  };
  // How a name was spelled first, and the number of the directory that has it, if it is one.
  struct Name {
    std::string spelling;
    std::uint64_t number;
  };

  std::string refuse(std::string_view reason);
  std::string fail(int error);
  std::string failAt(const Directory& directory, const char* name, int error);

  std::string parse(std::string_view path, Place& place);
  bool claim(std::uint64_t directory, const std::string& name, std::uint64_t& number);
  std::string openPart(Directory& at, const std::string& name, const mode_t* mode);
  std::string walk(const std::string& path, const mode_t* mode, Directory& found);
  std::string enter(const std::string& directory, mode_t mode);
  std::string enterParent(const Place& place);

  template <typename Make>
  bool makeTemporary(Make make);
  std::string moveIntoPlace(const Place& place);
  std::string makeSymlink(const Place& place, const std::string& target);
  std::string setAttributes(const std::string& directory, const TargetAttributes& attributes);

  const bool foldNames_;
  bool isRefusal_ = false;
  Descriptor root_;
  Directory current_;  // the directory of the last member, as members come directory by directory

  // The file that has begun, if `file_` is open. `temporary_` is a name in `current_`, and empty where nothing has it.
  Descriptor file_;
  Place place_;
  TargetAttributes attributes_;
  std::string temporary_;
  std::uint64_t lastTemporary_;  // counts from a number that no archive can know

  std::map<std::string, std::string, std::less<>> links_;  // targets by path; no path of a link is a directory's
  std::map<std::string, TargetAttributes> directories_;
  std::map<std::pair<std::uint64_t, std::string>, Name> names_;  // by directory and folded name, where names are folded
};

}  // namespace arbtree::tool

#endif
