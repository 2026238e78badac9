// What members of an archive can and cannot do to the disk: files, directories and links of a target directory, and
// that nothing beside it is ever touched.
#include "target_directory.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <tuple>

namespace arbtree::tool {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using Tree = std::set<std::string>;
using Pairs = std::vector<std::pair<std::string, std::string>>;

struct TargetDirectoryTest : testing::Test {
  static std::string read(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  // All that is in the target, as "directory/", "file=content" and "link>target".
  Tree tree() const {
    Tree found;
    for (const auto& entry : fs::recursive_directory_iterator(target)) {
      const std::string plain = entry.is_directory() ? "/" : "=" + read(entry);
      const std::string what = entry.is_symlink() ? ">" + fs::read_symlink(entry).string() : plain;
      found.insert(entry.path().lexically_relative(target).string() + what);
    }
    return found;
  }
  // Members are written in the same way, and hard links as "path<existing".
  std::string put(const std::string& member, const TargetAttributes& attributes = {}) {
    const std::size_t end = member.find_first_of("=><");
    if (end == member.npos) return directory->makeDirectory(member, attributes);
    const std::string path = member.substr(0, end), rest = member.substr(end + 1);
    if (member[end] == '>') return directory->addSymlink(path, rest);
    if (member[end] == '<') return directory->addHardLink(path, rest);
    std::string reason = directory->beginFile(path, attributes);
    if (reason.empty()) reason = directory->write(rest.data(), rest.size());
    return reason.empty() ? directory->commitFile() : reason;
  }
  void expect(const char* reason, std::initializer_list<std::string> members) {
    for (const std::string& member : members) {
      EXPECT_EQ(put(member), reason) << member;
      EXPECT_TRUE(*reason == 0 || directory->isRefusal()) << member;
    }
  }
  void open(bool foldNames) { directory = std::make_unique<TargetDirectory>(target, foldNames); }

  void SetUp() override {
    std::string name = fs::temp_directory_path() / "arbtree-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    base = name, target = base / "target", beside = base / "beside";
    std::ofstream(beside) << "theirs";
    open(false);
  }
  void TearDown() override {
    EXPECT_EQ(read(beside), "theirs");
    EXPECT_EQ(std::distance(fs::directory_iterator(base), {}), 2);
    for (const std::string& path : tree()) EXPECT_EQ(path.find(".arbtree-"), path.npos) << path;
    fs::remove_all(base);
  }

  fs::path base, target, beside;
  std::unique_ptr<TargetDirectory> directory;
};

TEST_F(TargetDirectoryTest, PathsAreRefusedByEveryCallOrTaken) {
  const std::string longest(255, 'n');
  std::string deep = "x";
  while (deep.size() < 4096) deep.insert(0, "dir/");
  for (const auto& path :
       {""s, "/a"s, ".."s, "a/../b"s, "./../beside"s, "a\\b"s, "C:"s, "./c:/x"s, "a\0b"s, "a/n" + longest, deep}) {
    const std::string reason = put(path);
    EXPECT_NE(reason, "") << path;
    expect(reason.c_str(), {path, path + "=x", path + ">a", path + "<a", "a<" + path});
  }
  expect("the path is that of the target", {"./=x", "./>x"});
  expect("", {"./", "./a//b/./c=1", "a/..d=1", "a/C:x=1", longest + "=1", "a/..d=2"});
  EXPECT_EQ(tree(), (Tree{"a/", "a/..d=2", "a/C:x=1", "a/b/", "a/b/c=1", longest + "=1"}));
  EXPECT_THROW(TargetDirectory(base / "missing/target", false), std::runtime_error);
  EXPECT_THROW(TargetDirectory(beside, false), std::runtime_error);
}

TEST_F(TargetDirectoryTest, PermissionsAndTimes) {
  const auto expectAttributes = [this](const char* path, mode_t mode, std::int64_t modified) {
    struct stat status {};
    EXPECT_EQ(lstat((target / path).c_str(), &status), 0) << path;
    EXPECT_EQ(status.st_mode & 07777, mode) << path;
    EXPECT_EQ(status.st_mtime, modified) << path;
  };
  EXPECT_EQ(put("d/e/", {07111, 1000, true}), "");
  EXPECT_EQ(put("d/", {0555, -5, true}), "");
  EXPECT_EQ(put("d/e/plain=", {06467, 12345, true}), "");
  expect("", {"d/link>e", "now="});
  EXPECT_EQ(directory->finish(), Pairs());
  expectAttributes("d", 0755, -5);
  expectAttributes("d/e", 0711, 1000);
  expectAttributes("d/e/plain", 0667, 12345);
  EXPECT_GT(fs::last_write_time(target / "now"), fs::last_write_time(target / "d/e/plain"));
}

TEST_F(TargetDirectoryTest, WhatIsOnTheDiskIsReplacedButNeverFollowed) {
  fs::create_symlink(base, target / "out");
  fs::create_symlink(beside, target / "name");
  fs::create_hard_link(beside, target / "shared");
  fs::create_directory(target / "dir");
  expect("a symbolic link is in the way",
         {"out/", "out/beside=x", "out/new/", "out/l>x", "out/h<shared", "x<out/beside"});
  expect("what the link names is no regular file in the target", {"x<dir", "x<missing", "x<name", "x<./"});
  expect("a directory is in the way", {"dir=x", "dir>name", "dir<shared"});
  expect("", {"name=ours", "shared=ours"});
  expect("a file is in the way", {"name/", "name/below=x"});
  EXPECT_EQ(tree(), (Tree{"dir/", "name=ours", "out>" + base.string(), "shared=ours"}));
}

TEST_F(TargetDirectoryTest, SymbolicLinksStayInside) {
  expect("", {"a/up>..", "l>a", "m>.", "a/b/n>.././../x//y", "a/b/o>../..", "p>B:c"});
  // Through a/up, which is the target directory, "a/up/.." would be the directory above it.
  expect("the link leads out of the target",
         {"r>", "r>..", "a/r>../..", "a/b/r>../../../x", "r>/etc", "r>a\\b", "r>a\0b"s, "a/b/r>x/../y", "r>a/up/.."});
  EXPECT_EQ(tree(), (Tree{"a/", "a/b/"}));
  EXPECT_EQ(directory->finish(), Pairs());
  EXPECT_EQ(tree(), (Tree{"a/", "a/b/", "a/up>..", "l>a", "m>.", "a/b/n>.././../x//y", "a/b/o>../..", "p>B:c"}));
}

TEST_F(TargetDirectoryTest, TheLastMemberOfANameWins) {
  expect("", {"f>to", "h>to", "both>to", "f=1", "h<f", "l=2", "l>old", "l>to", "c=3", "a/c<f", "c<f", "c<f", "a/c=4"});
  expect("a symbolic link is in the way", {"both/x=3", "both/"});
  expect("what the link names is no regular file in the target", {"x<l", "x<both"});
  EXPECT_EQ(fs::hard_link_count(target / "f"), 3u);
  fs::create_directory(target / "both");  // by another program
  EXPECT_EQ(directory->finish(), (Pairs{{"both", "a directory is in the way"}}));
  EXPECT_EQ(tree(), (Tree{"a/", "a/c=4", "both/", "c=1", "f=1", "h=1", "l>to"}));
}

TEST_F(TargetDirectoryTest, FoldedNames) {
  const std::tuple<std::string, std::string, bool> rows[] = {
      {"name", "NAME", true},      {"d/a", "D/b", true},     {"stra\u00DFe", "STRASSE", true},
      {"\u00E9", "E\u0301", true}, {"A\xFF", "a\xFF", true}, {"equal", "equal", false},
      {"p/a/X", "q/A/x", false},   {"e", "\u00E9", false},   {"\xFE", "\xFF", false}};
  for (const auto& [first, second, isSame] : rows) {
    open(true);
    expect("", {first + "=1"});
    for (const char* rest : {"=2", ">x"}) EXPECT_EQ(put(second + rest) != "", isSame) << first << " " << second;
    open(false);
    expect("", {first + "=1", second + "=2"});
  }
}

TEST_F(TargetDirectoryTest, FilesThatAreNotFinishedLeaveNothing) {
  expect("", {"kept=old"});
  EXPECT_EQ(directory->beginFile("kept", {}), "");
  EXPECT_EQ(directory->write("new", 3), "");
  expect("", {"dir/"});  // another member
  EXPECT_NE(directory->commitFile(), "");
  EXPECT_EQ(tree(), (Tree{"dir/", "kept=old"}));

  std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
  const rlimit small{10, limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const std::string reason = put("kept=eleven bytes");
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  EXPECT_EQ(reason, "File too large");
  EXPECT_FALSE(directory->isRefusal());
  EXPECT_EQ(tree(), (Tree{"dir/", "kept=old"}));

  EXPECT_EQ(directory->beginFile("dir/x", {}), "");
  directory.reset();
  EXPECT_EQ(tree(), (Tree{"dir/", "kept=old"}));
}

}  // namespace
}  // namespace arbtree::tool
