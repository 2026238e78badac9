// compwrite: who writes a file; where the directory writer puts it, and that neither its names nor what lies in the
// directory lead out; and that a target name shows a whole file or what was there before.
#include "arbtree/compwrite.h"

#include <gtest/gtest.h>
#ifndef _WIN32
#include <signal.h>
#include <sys/resource.h>
#endif

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/temporary_folder.h"
#include "support/threads.h"

namespace arbtree::test {
namespace {

namespace fs = std::filesystem;

// A forest on the way from the root forest to a file.
struct Level {
  std::u16string name;
  std::uint32_t archiveType;
};

// The public records of a file child and of the forests above it, as a document would hold them.
class FileChild {
 public:
  explicit FileChild(const std::u16string& name, const std::vector<Level>& levels = {{u"root", 0}})
      : forests_(levels.size()) {
    ArbForest* parent = nullptr;
    const auto place = [&parent](ArbForestChild& child, const std::u16string& childName) {
      child.parent = parent;
      childName.copy(child.name, std::size(child.name) - 1);
    };
    for (std::size_t i = 0; i < levels.size(); ++i) {
      place(forests_[i].child, levels[i].name);
      forests_[i].archiveType = levels[i].archiveType;
      parent = &forests_[i];
    }
    place(file_.child, name);
  }
  ArbFile* get() { return &file_; }

 private:
  std::vector<ArbForest> forests_;
  ArbFile file_{};
};

// Content for the directory writer, handed out in pieces of at most `piece` bytes.
struct Content {
  std::string bytes;
  std::uint32_t piece = 0xFFFFFFFF;
  std::uint64_t failAt = UINT64_MAX;  // from this offset on: status 77, or an exception
  bool throws = false;
  std::uint32_t overclaim = 0;

  static std::uint32_t ARB_CALL provide(ArbFile*, std::uint32_t, std::uint64_t offset, void* buffer,
                                        std::uint32_t capacity, std::uint32_t* byteCount, void* data) {
    const Content& content = *static_cast<const Content*>(data);
    if (offset >= content.failAt) {
      if (content.throws) throw std::runtime_error("content");
      return 77;
    }
    const std::size_t most = std::min(capacity, content.piece);
    const std::size_t count = content.bytes.copy(static_cast<char*>(buffer), most, static_cast<std::size_t>(offset));
    *byteCount = content.overclaim ? capacity + content.overclaim : static_cast<std::uint32_t>(count);
    return ARB_OK;
  }
};

std::string contentOf(const fs::path& path) {
  std::ifstream stream(literal(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

using Entries = std::set<std::u16string>;

// A directory "top" that holds the output directory "out"; nothing but "out" may ever change in it.
class CompWrite : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(fs::create_directory(out));
    ASSERT_EQ(CompWriteSetDirectory(&context, out.u16string().c_str(), Content::provide, &content), ARB_OK);
    content.bytes = "content";
  }
  void TearDown() override { EXPECT_EQ(CompWriteRemoveWriter(&context), ARB_OK); }

  std::uint32_t write(FileChild&& file) { return CompWriteFile(&context, file.get(), 0); }

  // Everything below a directory, relative to it; directories are left out when they hold something.
  static Entries entries(const fs::path& directory) {
    Entries found;
    const fs::path base = literal(directory);
    for (const auto& entry : fs::recursive_directory_iterator(base)) {
      if (entry.is_symlink() || !entry.is_directory() || fs::is_empty(entry)) {
        found.insert(fs::path(entry.path().native().substr(base.native().size() + 1)).generic_u16string());
      }
    }
    return found;
  }

  const TemporaryFolder folder;
  const fs::path top = folder.path;
  const fs::path out = top / u"\u00F6ut";
  ArbHostContext context{};
  Content content;
};

TEST_F(CompWrite, PutsAFileAtItsDocumentPath) {
  struct Case {
    std::u16string name;
    std::vector<Level> levels;
    std::u16string expected;
  };
  const std::u16string longName(120, u'n');
  const std::vector<Level> deep(40, Level{u"d", 1});
  std::u16string deepPath;
  for (std::size_t i = 0; i < deep.size(); ++i) deepPath += u"d/";
  const Case cases[] = {
      {u"a.txt", {}, u"a.txt"},
      {u"a.txt", {{u"root", 0}}, u"a.txt"},
      {u"a.txt", {{u"root", 0}, {u"inner.zip", 1}}, u"inner.zip/a.txt"},
      {u"a.txt", {{u"root", 0}, {u"one", 2}, {u"..", 0}, {u"two", 5}}, u"one/two/a.txt"},
      {u"a.txt", {{u"root", 3}}, u"root/a.txt"},
      {u"dir/sub\\a.txt", {{u"root", 0}}, u"dir/sub/a.txt"},
      {u"a.txt", {{u"x/y", 1}}, u"x/y/a.txt"},
      {u"..a", {}, u"..a"},
      {u".hidden", {}, u".hidden"},
      {u"name.", {}, u"name."},
      {u"\u00E4\u20AC\U0010FFFD", {}, u"\u00E4\u20AC\U0010FFFD"},
      {longName, {}, longName},
      {u"a", deep, deepPath + u"a"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(write(FileChild(c.name, c.levels)), ARB_OK);
    EXPECT_EQ(entries(out), Entries{c.expected});
    EXPECT_EQ(contentOf(out / c.expected), "content");
    fs::remove_all(literal(out));
    fs::create_directory(out);
  }
}

TEST_F(CompWrite, RefusesNamesThatCouldLeadOut) {
  const std::u16string names[] = {u"..",           u".",       u"",         u"../x",         u"..\\x",    u"a/../../x",
                                  u"a\\..\\..\\x", u"/x",      u"\\x",      u"//h/s/x",      u"\\\\h\\s", u"\\\\?\\C:",
                                  u"C:\\x",        u"C:x",     u"a:stream", u"a//x",         u"x/",       u"x\\",
                                  u".. ",          u"...",     u" ",        u". ./x",        u"./x",      u"a\nb",
                                  u"\xD800",       u"a\xD800", u"a\xDC00",  u"\xDC00\xD800", u"\xD83Cx"};
  for (const std::u16string& name : names) {
    SCOPED_TRACE(::testing::PrintToString(name));
    EXPECT_EQ(write(FileChild(name)), COMPWRITE_ERR_NAME);
    EXPECT_EQ(write(FileChild(name, {{u"early", 1}})), COMPWRITE_ERR_NAME);
    EXPECT_EQ(write(FileChild(u"x", {{u"root", 0}, {name, 1}})), COMPWRITE_ERR_NAME);
    EXPECT_EQ(write(FileChild(u"x", {{name, 1}, {u"inner", 1}})), COMPWRITE_ERR_NAME);
  }
  EXPECT_EQ(entries(top), Entries{u"\u00F6ut"}) << "nothing was made, inside or outside";
}

#ifndef _WIN32
TEST_F(CompWrite, FollowsNoSymbolicLink) {
  fs::create_directory(top / "outside");
  std::ofstream(top / "outside" / "victim") << "precious";
  fs::create_directory_symlink("../outside", out / "up");
  fs::create_directory_symlink(top / "nowhere", out / "dangling");
  fs::create_symlink("../outside/victim", out / "file");
  EXPECT_EQ(write(FileChild(u"victim", {{u"up", 1}})), COMPWRITE_ERR_BLOCKED);
  EXPECT_EQ(write(FileChild(u"up/victim")), COMPWRITE_ERR_BLOCKED);
  EXPECT_EQ(write(FileChild(u"dangling/x")), COMPWRITE_ERR_BLOCKED);
  EXPECT_EQ(write(FileChild(u"file")), ARB_OK) << "the link itself is replaced";
  EXPECT_FALSE(fs::is_symlink(out / "file"));
  EXPECT_EQ(contentOf(out / "file"), "content");
  EXPECT_EQ(entries(top / "outside"), Entries{u"victim"});
  EXPECT_EQ(contentOf(top / "outside" / "victim"), "precious");
  EXPECT_FALSE(fs::exists(top / "nowhere"));
}
#endif

TEST_F(CompWrite, ObjectsInTheWay) {
  ASSERT_EQ(write(FileChild(u"plain")), ARB_OK);
  fs::create_directory(out / "dir");
  EXPECT_EQ(write(FileChild(u"dir")), COMPWRITE_ERR_BLOCKED);
  EXPECT_NE(write(FileChild(u"plain/x")), ARB_OK);
  EXPECT_EQ(entries(out), (Entries{u"dir", u"plain"}));
  fs::remove_all(out);
  EXPECT_EQ(write(FileChild(u"a")), COMPWRITE_ERR_IO) << "the output directory itself is not made";
}

#ifndef _WIN32
TEST_F(CompWrite, AFullDeviceLeavesNothing) {
  content.bytes.assign(300000, 'x');
  rlimit old;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
  const auto oldHandler = signal(SIGXFSZ, SIG_IGN);
  const rlimit small{100000, old.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const std::uint32_t status = write(FileChild(u"a"));
  setrlimit(RLIMIT_FSIZE, &old);
  signal(SIGXFSZ, oldHandler);
  EXPECT_EQ(status, COMPWRITE_ERR_FULL);
  EXPECT_EQ(entries(out), Entries{});
}
#endif

TEST_F(CompWrite, ContentOfEverySizeIsWrittenWhole) {
  for (const std::size_t size : {0u, 1u, 65535u, 65536u, 65537u, 200000u}) {
    for (const std::uint32_t piece : {1000u, 0xFFFFFFFFu}) {
      content.piece = piece;
      content.bytes.resize(size);
      for (std::size_t i = 0; i < size; ++i) content.bytes[i] = static_cast<char>(i * 31 + i / 256);
      EXPECT_EQ(write(FileChild(u"a")), ARB_OK) << "replacing the file of the round before";
      EXPECT_TRUE(contentOf(out / "a") == content.bytes) << size << " in pieces of " << piece;
    }
  }
  EXPECT_EQ(entries(out), Entries{u"a"});
}

TEST_F(CompWrite, AFailureKeepsWhatWasThere) {
  ASSERT_EQ(write(FileChild(u"a")), ARB_OK);
  struct Case {
    std::uint64_t failAt;
    bool throws;
    std::uint32_t overclaim;
  };
  const Case cases[] = {
      {0, false, 0}, {100000, false, 0}, {UINT64_MAX, false, 1},
#ifndef _WIN32  // where nothing is thrown from one module to another
      {0, true, 0},  {100000, true, 0},
#endif
  };
  content.bytes.assign(150000, 'n');
  for (const Case& c : cases) {
    content.failAt = c.failAt;
    content.throws = c.throws;
    content.overclaim = c.overclaim;
    for (const char16_t* const name : {u"a", u"new"}) {
      if (c.throws) {
        EXPECT_THROW(write(FileChild(name)), std::runtime_error);
      } else {
        EXPECT_EQ(write(FileChild(name)), c.overclaim ? COMPWRITE_ERR_CONTENT : 77u);
      }
      EXPECT_EQ(entries(out), Entries{u"a"});
      EXPECT_EQ(contentOf(out / "a"), "content");
    }
  }
}

std::uint32_t ARB_CALL noteArgument(ArbHostContext*, ArbFile*, std::uint32_t argument, void* data) {
  *static_cast<std::uint32_t*>(data) = argument;
  return argument + 1;
}

TEST_F(CompWrite, EachHostContextHasItsWriter) {
  ArbHostContext other{};
  FileChild file(u"a");
  std::uint32_t seen = 0;
  EXPECT_EQ(CompWriteFile(&other, file.get(), 5), COMPWRITE_ERR_NO_WRITER);
  EXPECT_EQ(CompWriteFile(nullptr, file.get(), 5), COMPWRITE_ERR_NO_WRITER);
  EXPECT_EQ(CompWriteFile(&context, nullptr, 5), ARB_ERR_BADARG);
  EXPECT_EQ(CompWriteSetWriter(nullptr, noteArgument, &seen), ARB_ERR_BADARG);
  EXPECT_EQ(CompWriteSetWriter(&other, nullptr, &seen), ARB_ERR_BADARG);
  EXPECT_EQ(CompWriteSetDirectory(nullptr, u".", Content::provide, nullptr), ARB_ERR_BADARG);
  EXPECT_EQ(CompWriteSetDirectory(&other, nullptr, Content::provide, nullptr), ARB_ERR_BADARG);
  EXPECT_EQ(CompWriteSetDirectory(&other, u".", nullptr, nullptr), ARB_ERR_BADARG);
  EXPECT_EQ(CompWriteRemoveWriter(&other), COMPWRITE_ERR_NO_WRITER);
  ASSERT_EQ(CompWriteSetWriter(&other, noteArgument, &seen), ARB_OK);
  EXPECT_EQ(CompWriteFile(&other, file.get(), 5), 6u) << "the writer's status comes back unchanged";
  EXPECT_EQ(seen, 5u);
  EXPECT_EQ(CompWriteFile(&context, file.get(), 8), ARB_OK);
  EXPECT_EQ(seen, 5u);
  EXPECT_EQ(CompWriteRemoveWriter(&other), ARB_OK);
  EXPECT_EQ(CompWriteFile(&other, file.get(), 5), COMPWRITE_ERR_NO_WRITER);
}

TEST_F(CompWrite, ThreadsWriteBesideEachOther) {
  onFourThreads(50, [this](std::uint32_t t, std::uint32_t) {
    ArbHostContext own{};
    Content bytes;
    bytes.bytes.assign(1000 * (t + 1), static_cast<char>('a' + t));
    return CompWriteSetDirectory(&own, out.u16string().c_str(), Content::provide, &bytes) == ARB_OK &&
           CompWriteFile(&own, FileChild(std::u16string(t + 1, u'f')).get(), 0) == ARB_OK &&
           CompWriteFile(&own, FileChild(u"shared/x").get(), 0) == ARB_OK && CompWriteRemoveWriter(&own) == ARB_OK;
  });
  EXPECT_EQ(entries(out), (Entries{u"f", u"ff", u"fff", u"ffff", u"shared/x"}));
  for (std::size_t t = 0; t < 4; ++t) {
    EXPECT_EQ(contentOf(out / std::string(t + 1, 'f')), std::string(1000 * (t + 1), static_cast<char>('a' + t)));
  }
  const std::string shared = contentOf(out / "shared" / "x");
  EXPECT_EQ(shared, std::string(shared.size(), shared[0])) << "the whole content of one writer";
}

}  // namespace
}  // namespace arbtree::test
