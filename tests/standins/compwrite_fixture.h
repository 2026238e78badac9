// What the tests of compwrite share: file children as a document would hold them, content that can fail, and an output
// directory whose surroundings are watched.
#ifndef ARBTREE_TESTS_STANDINS_COMPWRITE_FIXTURE_H
#define ARBTREE_TESTS_STANDINS_COMPWRITE_FIXTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "arbtree/compwrite.h"
#include "support/temporary_folder.h"

namespace arbtree::compwritetest {

namespace fs = std::filesystem;
using test::literal;

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
    for (std::size_t i = 0; i < levels.size(); ++i) {
      setName(forests_[i].child, ARB_CHILD_FOREST, levels[i].name, parent);
      forests_[i].archiveType = levels[i].archiveType;
      parent = &forests_[i];
    }
    setName(file_.child, ARB_CHILD_FILE, name, parent);
  }
  ArbFile* get() { return &file_; }

 private:
  static void setName(ArbForestChild& child, std::uint32_t kind, const std::u16string& name, ArbForest* parent) {
    child.kind = kind;
    child.parent = parent;
    name.copy(child.name, std::size(child.name) - 1);
  }

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

inline std::string contentOf(const fs::path& path) {
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

  const test::TemporaryFolder folder;
  const fs::path top = folder.path;
  const fs::path out = top / u"\u00F6ut";
  ArbHostContext context{};
  Content content;
};

}  // namespace arbtree::compwritetest

#endif
