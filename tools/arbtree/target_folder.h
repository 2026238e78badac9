// The folder that members are extracted to. Nothing is ever made outside it, whatever the names and whatever lies in
// it:
//  1. A name that could lead elsewhere is refused (nameProblem).
//  2. Folders are opened part by part without following symbolic links.
//  3. A file is written under a temporary name beside its place and takes its name when it is complete.
//  4. Symbolic links are made last, so nothing is written through one, and only such that point into the folder.
//  5. Folders get their own modes and times after that, as their owner must be able to write and writing changes the
//     time.
//
// Every call that makes something answers why it did not, or nothing.
#ifndef ARBTREE_TOOL_TARGET_FOLDER_H
#define ARBTREE_TOOL_TARGET_FOLDER_H

#include <sys/types.h>

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "byte_source.h"
#include "member.h"

namespace arbtree::tool {

// A path as the folder has it: without the parts that only mean their place.
std::string withoutDots(std::string_view path);

// Why a path must not be used below a target folder; empty when it may.
std::string nameProblem(std::string_view path);

class TargetFolder {
 public:
  // With `refuseAliases`, names that differ from an earlier one only by case or normal form are refused.
  TargetFolder(const std::string& path, bool refuseAliases);
  ~TargetFolder();
  TargetFolder(const TargetFolder&) = delete;
  TargetFolder& operator=(const TargetFolder&) = delete;

  // Why the folder itself cannot be used; empty while it can.
  const std::string& error() const { return error_; }

  // The content is null for an empty file.
  std::string writeFile(const std::string& path, const MemberFacts& facts, ByteSource* content);
  // The last facts that are given for a folder hold.
  std::string makeFolder(const std::string& path, const MemberFacts& facts);
  // Whether the folder with this path was made, for itself or for what is in it, and not there before.
  bool hasMade(const std::string& path) const { return made_.contains(path); }
  // `target` is a path below the folder.
  std::string linkHard(const std::string& path, const std::string& target);
  // The link itself is made by finish().
  std::string linkSymbolic(const std::string& path, const std::string& target, const MemberFacts& facts);

  struct Refusal {
    std::string path;
    std::string reason;
  };
  // Makes the symbolic links, and gives folders their modes and times. REQUIRES: nothing else follows.
  std::vector<Refusal> finish();

 private:
  struct Place {
    int folder = -1;  // a descriptor that is kept until the next place is looked for
    std::string name;
    std::string problem;
  };
  struct PendingLink {
    std::string path;
    std::string target;
    MemberFacts facts;
  };

  Place findPlace(const std::string& path, bool make);
  std::string openFolder(std::string_view path, bool make);
  std::string aliasProblem(std::string_view path);
  template <typename Make>
  bool makeTemporary(const Place& place, std::string& temporary, Make make);
  std::string fill(int file, ByteSource* content);
  std::string takeName(const Place& place, const std::string& temporary);
  std::string makeLink(const PendingLink& link);
  std::string finishFolder(const std::string& path, const MemberFacts& facts);
  mode_t modeFor(const MemberFacts& facts) const { return facts.mode & 0777 & ~mask_; }

  int root_ = -1;
  std::string error_;
  const bool refuseAliases_;
  mode_t mask_;
  int current_ = -1;         // the folder opened last
  std::string currentPath_;  // of it, without dots
  unsigned long temporaries_ = 0;
  std::vector<PendingLink> links_;
  std::unordered_set<std::string> made_;                // folders
  std::map<std::string, MemberFacts> folders_;          // backwards, inner ones come before outer ones
  std::unordered_map<std::string, std::string> names_;  // by their folded form
};

}  // namespace arbtree::tool

#endif
