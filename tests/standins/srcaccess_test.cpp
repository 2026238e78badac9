// srcaccess: the file handles of sources, resolved through baseutil, and the extensions of formats.
#include "arbtree/srcaccess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "arbtree/baseutil.h"
#include "support/threads.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

void freePath(char16_t* path) {
#ifdef _WIN32
  HeapFree(GetProcessHeap(), 0, path);
#else
  std::free(path);
#endif
}

// The path behind a file handle, or "?" when there is none.
std::u16string pathOf(std::uint32_t fileHandle) {
  BasePathName record{77, nullptr};
  if (BaseFillPathName(fileHandle, &record) != ARB_OK) return record.path || record.ownField != 77 ? u"written" : u"?";
  std::u16string path(record.path);
  EXPECT_EQ(record.ownField, path.size());
  freePath(record.path);
  return path;
}

constexpr std::uint32_t kPreset = 0xFFFFFFFF;  // what arbtree presets a file handle to

using Files = std::pair<const char16_t*, const char16_t*>;  // input and output

TEST(SrcAccess, GivesTheFilesOfASource) {
  for (const auto& [input, output] : {Files{u"in.xml", u"out/report.xml"}, Files{nullptr, u"E:\\out\\r.xml"},
                                      Files{u"in.xml", nullptr}, Files{}, Files{u"", u"\xD800 alone"}}) {
    std::uint32_t source = 0;
    ASSERT_EQ(SrcOpen(input, output, &source), ARB_OK);
    EXPECT_NE(source, 0u);
    std::vector<std::uint32_t> handles;
    for (const auto& [get, path] : {std::pair(&SrcGetFileHandle, input), std::pair(&SrcGetOutputFileHandle, output)}) {
      EXPECT_EQ(get(source, nullptr), ARB_ERR_BADARG);
      std::uint32_t handle = kPreset;
      EXPECT_EQ(get(source, &handle), path ? ARB_OK : SRC_ERR_NO_FILE);
      EXPECT_EQ(pathOf(handle), path ? path : u"?");
      EXPECT_EQ(path == nullptr, handle == kPreset);
      handles.push_back(handle);
    }
    EXPECT_EQ(SrcClose(source), ARB_OK);
    for (const std::uint32_t handle : handles) EXPECT_EQ(pathOf(handle), u"?") << "closing releases the file handles";
  }
}

TEST(SrcAccess, RefusesStaleAndInventedHandles) {
  std::uint32_t open = 0;
  std::uint32_t stale = 0;
  EXPECT_EQ(SrcOpen(u"a", u"b", nullptr), ARB_ERR_BADARG);
  ASSERT_EQ(SrcOpen(u"a", u"b", &open), ARB_OK);
  ASSERT_EQ(SrcOpen(u"c", u"d", &stale), ARB_OK);
  std::uint32_t file = 0;
  ASSERT_EQ(SrcGetFileHandle(open, &file), ARB_OK);
  ASSERT_EQ(SrcClose(stale), ARB_OK);
  for (const std::uint32_t bad : {0u, 1u, 2u, kPreset, stale, file}) {
    std::uint32_t handle = kPreset;
    EXPECT_EQ(SrcGetFileHandle(bad, &handle), SRC_ERR_SOURCE) << bad;
    EXPECT_EQ(SrcGetOutputFileHandle(bad, &handle), SRC_ERR_SOURCE) << bad;
    EXPECT_EQ(SrcClose(bad), SRC_ERR_SOURCE) << bad;
    EXPECT_EQ(handle, kPreset);
  }
  for (const std::uint32_t bad : {0u, 1u, 2u, kPreset, open}) EXPECT_EQ(pathOf(bad), u"?") << bad;
  EXPECT_EQ(pathOf(file), u"a");
  EXPECT_EQ(SrcClose(open), ARB_OK);
}

TEST(SrcAccess, FileHandlesOfTheHost) {
  std::uint32_t handle = kPreset;
  EXPECT_EQ(BaseRegisterPath(nullptr, &handle), ARB_ERR_BADARG);
  EXPECT_EQ(BaseRegisterPath(u"x", nullptr), ARB_ERR_BADARG);
  EXPECT_EQ(handle, kPreset);
  std::u16string path(100000, u'p');
  ASSERT_EQ(BaseRegisterPath(path.c_str(), &handle), ARB_OK);
  EXPECT_EQ(BaseFillPathName(handle, nullptr), ARB_ERR_BADARG);
  EXPECT_EQ(pathOf(handle), path);
  EXPECT_EQ(pathOf(handle), path) << "every fill gives a copy of its own";
  EXPECT_EQ(BaseReleaseHandle(handle), ARB_OK);
  EXPECT_EQ(BaseReleaseHandle(handle), BASE_ERR_HANDLE);
}

// The extension where arbtree reads it: from the record's ninth byte on; "?" when there is no such format.
std::string extensionOf(std::uint32_t formatId) {
  SrcFormatInfo info;
  std::memset(&info, 0x5A, sizeof info);
  if (SrcGetFormatInfo(formatId, 0, &info) == ARB_OK) {
    EXPECT_EQ(info.ownFields[0], formatId);
    return reinterpret_cast<const char*>(&info) + 8;
  }
  EXPECT_EQ(info.extension[0], 0x5A) << "the record must be left as it was";
  EXPECT_EQ(SrcGetFormatInfo(formatId, 0, &info), SRC_ERR_UNKNOWN_FORMAT);
  return "?";
}

TEST(SrcAccess, FormatsAndTheirBounds) {
  const std::string longest(SRC_MAX_EXTENSION, 'e');
  struct Case {
    std::uint32_t formatId;
    std::string extension;
    std::uint32_t status;
    std::string then;  // the extension afterwards
  };
  for (const Case& c :
       {Case{1998, "jar", SRC_ERR_DUPLICATE, "zip"}, Case{1150, "xhtml", SRC_ERR_DUPLICATE, "xml"},
        Case{1802, "cpio", SRC_ERR_DUPLICATE, "tar"}, Case{41, "", ARB_OK, ""}, Case{42, "x", ARB_OK, "x"},
        Case{42, "y", SRC_ERR_DUPLICATE, "x"}, Case{0xFFFFFFFF, longest, ARB_OK, longest},
        Case{43, longest + "e", ARB_ERR_BADARG, "?"}, Case{44, std::string(5000, 'e'), ARB_ERR_BADARG, "?"}}) {
    EXPECT_EQ(SrcRegisterFormat(c.formatId, c.extension.c_str()), c.status) << c.formatId;
    EXPECT_EQ(extensionOf(c.formatId), c.then) << c.formatId;
  }
  EXPECT_EQ(SrcRegisterFormat(45, nullptr), ARB_ERR_BADARG);
  EXPECT_EQ(SrcGetFormatInfo(1150, 0, nullptr), ARB_ERR_BADARG);
  for (const std::uint32_t own : {41u, 42u, 0xFFFFFFFFu}) {
    EXPECT_EQ(SrcUnregisterFormat(own), ARB_OK);
    EXPECT_EQ(extensionOf(own), "?");
  }
  for (const std::uint32_t notOwn : {42u, 43u, SRC_FORMAT_TREE, SRC_FORMAT_ARCHIVE, SRC_FORMAT_FOREST}) {
    EXPECT_EQ(SrcUnregisterFormat(notOwn), SRC_ERR_UNKNOWN_FORMAT) << notOwn;
  }
  EXPECT_EQ(extensionOf(SRC_FORMAT_TREE), "xml");
}

TEST(SrcAccess, ThreadsDoNotDisturbEachOther) {
  arbtree::test::onFourThreads(1000, [](std::uint32_t t, std::uint32_t) {
    const std::u16string path(t + 1, static_cast<char16_t>(u'a' + t));
    const std::string extension(t + 1, static_cast<char>('a' + t));
    std::uint32_t source = 0;
    std::uint32_t handle = 0;
    SrcFormatInfo info{};
    return SrcOpen(path.c_str(), nullptr, &source) == ARB_OK && SrcGetFileHandle(source, &handle) == ARB_OK &&
           pathOf(handle) == path && SrcClose(source) == ARB_OK && SrcRegisterFormat(t, extension.c_str()) == ARB_OK &&
           SrcGetFormatInfo(t, 0, &info) == ARB_OK && extension == info.extension && SrcUnregisterFormat(t) == ARB_OK;
  });
}

}  // namespace
