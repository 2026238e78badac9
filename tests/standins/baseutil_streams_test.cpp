// baseutil: streams in memory and in files behave alike, name every failure, and stay harmless after they are closed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "arbtree/baseutil.h"
#include "support/temporary_folder.h"

namespace {

// The result, and the bytes.
std::pair<std::uint32_t, std::string> read(BaseStream* stream, std::size_t byteCount) {
  std::string bytes(byteCount, '?');
  std::uint32_t count = 99;
  const std::uint32_t result =
      stream->functions->read(stream, bytes.data(), static_cast<std::uint32_t>(byteCount), &count);
  EXPECT_LE(count, byteCount);
  bytes.resize(count);
  return {result, bytes};
}

// The result, and how many bytes were taken.
std::pair<std::uint32_t, std::size_t> write(BaseStream* stream, std::string bytes) {
  std::uint32_t count = 99;
  const std::uint32_t result =
      stream->functions->write(stream, bytes.data(), static_cast<std::uint32_t>(bytes.size()), &count);
  return {result, count};
}

const std::pair<std::uint32_t, std::size_t> kRefused{BASE_IO_HANDLE, 0};

class BaseUtilStreams : public ::testing::Test {
 protected:
  // A name outside ASCII and outside the basic plane, so that paths are seen to be converted.
  std::filesystem::path file() const { return directory / std::filesystem::path(u"f\u00FC\u07FF\u20AC\U0010FFFD.bin"); }

  BaseStream* openFile(std::uint32_t mode) {
    BaseStream* stream = nullptr;
    EXPECT_EQ(BaseStreamOpenFile(file().u16string().c_str(), mode, &stream), ARB_OK);
    return stream;
  }
  static BaseStream* openMemory(const std::string& bytes = {}, std::uint32_t limit = 0) {
    BaseStream* stream = nullptr;
    EXPECT_EQ(BaseStreamOpenMemory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), limit, &stream), ARB_OK);
    return stream;
  }

  const arbtree::test::TemporaryFolder folder;
  const std::filesystem::path& directory = folder.path;
};

TEST_F(BaseUtilStreams, AreQueuesOfBytes) {
  for (const bool inFile : {false, true}) {
    SCOPED_TRACE(inFile);
    BaseStream* const stream = inFile ? openFile(BASE_OPEN_CREATE) : openMemory();
    ASSERT_TRUE(stream);
    std::string unread;
    // Reads and writes of growing lengths in turn: a read never moves the place of the next write.
    for (std::uint32_t i = 0; i < 300; ++i) {
      const std::string bytes(i * 7 % 90, static_cast<char>('a' + i % 26));
      ASSERT_EQ(write(stream, bytes), std::pair(BASE_IO_OK, bytes.size()));
      unread += bytes;
      const std::string wanted = unread.substr(0, i * 5 % 80);
      ASSERT_EQ(read(stream, wanted.size()), std::pair(BASE_IO_OK, wanted));
      unread.erase(0, wanted.size());
    }
    ASSERT_FALSE(unread.empty());
    EXPECT_EQ(read(stream, unread.size() + 10), std::pair(BASE_IO_END, unread)) << "a short read is no whole one";
    EXPECT_EQ(read(stream, 1).first, BASE_IO_END);
    EXPECT_EQ(write(stream, "more").first, BASE_IO_OK) << "the end of data is not an end for good";
    EXPECT_EQ(read(stream, 4).second, "more");
    BaseStreamClose(stream);
  }
}

TEST_F(BaseUtilStreams, BadArgumentsOfTransfers) {
  for (BaseStream* const stream : {openMemory("abc"), openFile(BASE_OPEN_CREATE)}) {
    std::uint32_t count = 99;
    char byte = 0;
    EXPECT_EQ(stream->functions->read(stream, nullptr, 1, &count), BASE_IO_BADARG);
    EXPECT_EQ(stream->functions->write(stream, nullptr, 1, &count), BASE_IO_BADARG);
    EXPECT_EQ(stream->functions->read(nullptr, &byte, 1, &count), BASE_IO_BADARG);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(stream->functions->read(stream, nullptr, 0, nullptr), BASE_IO_OK);
    EXPECT_EQ(stream->functions->write(stream, nullptr, 0, nullptr), BASE_IO_OK);
    stream->functions->ownFirst(stream);
  }
}

TEST_F(BaseUtilStreams, AMemoryLimitCountsUnreadBytes) {
  BaseStream* const stream = openMemory("abc", 5);
  EXPECT_EQ(write(stream, "defg"), std::pair(BASE_IO_FULL, std::size_t{2}));
  EXPECT_EQ(write(stream, "x"), std::pair(BASE_IO_FULL, std::size_t{0}));
  EXPECT_EQ(read(stream, 4).second, "abcd");
  EXPECT_EQ(write(stream, "1234").first, BASE_IO_OK);
  EXPECT_EQ(read(stream, 5).second, "e1234");
  BaseStreamClose(stream);
  BaseStream* none = nullptr;
  EXPECT_EQ(BaseStreamOpenMemory("abc", 3, 2, &none), BASE_ERR_FULL);
  EXPECT_EQ(BaseStreamOpenMemory(nullptr, 3, 0, &none), ARB_ERR_BADARG);
  EXPECT_EQ(BaseStreamOpenMemory("abc", 3, 0, nullptr), ARB_ERR_BADARG);
  EXPECT_EQ(none, nullptr);
}

TEST_F(BaseUtilStreams, FileModes) {
  BaseStream* stream = openFile(BASE_OPEN_CREATE);
  write(stream, "hello");
  BaseStreamClose(stream);
  stream = openFile(BASE_OPEN_READ);
  EXPECT_EQ(read(stream, 5).second, "hello");
  EXPECT_EQ(write(stream, "x"), kRefused);
  BaseStreamClose(stream);
  BaseStreamClose(openFile(BASE_OPEN_CREATE));
  EXPECT_EQ(std::filesystem::file_size(file()), 0u);

  struct Case {
    std::u16string path;
    std::uint32_t mode;
    std::uint32_t expected;
  };
  const Case cases[] = {
      {(directory / "missing").u16string(), BASE_OPEN_READ, ARB_ERR_NOTFOUND},
      {(directory / "missing" / "x").u16string(), BASE_OPEN_CREATE, ARB_ERR_NOTFOUND},
      {(directory / "x").u16string(), 2, ARB_ERR_BADARG},
#ifndef _WIN32
      {(directory / "x").u16string() + u"\xDC00", BASE_OPEN_CREATE, ARB_ERR_BADARG},
      {(directory / "x").u16string() + u"\xD800", BASE_OPEN_CREATE, ARB_ERR_BADARG},
#endif
      {directory.u16string(), BASE_OPEN_CREATE, BASE_ERR_IO},
  };
  BaseStream* none = nullptr;
  for (const Case& c : cases) EXPECT_EQ(BaseStreamOpenFile(c.path.c_str(), c.mode, &none), c.expected);
  EXPECT_EQ(BaseStreamOpenFile(nullptr, BASE_OPEN_READ, &none), ARB_ERR_BADARG);
  EXPECT_EQ(BaseStreamOpenFile(u"x", BASE_OPEN_READ, nullptr), ARB_ERR_BADARG);
  EXPECT_EQ(none, nullptr);
}

#ifdef __linux__
TEST_F(BaseUtilStreams, AFullDeviceIsNamedByTheWriteThatMeetsIt) {
  BaseStream* stream = nullptr;
  ASSERT_EQ(BaseStreamOpenFile(u"/dev/full", BASE_OPEN_CREATE, &stream), ARB_OK);
  EXPECT_EQ(write(stream, "x"), std::pair(BASE_IO_FULL, std::size_t{0}));
  BaseStreamClose(stream);
}
#endif

TEST_F(BaseUtilStreams, AClosedStreamRefusesEverything) {
  for (BaseStream* const stream : {openMemory("abc"), openFile(BASE_OPEN_CREATE)}) {
    const BaseStreamFunctions* const whenOpen = stream->functions;
    BaseStreamClose(stream);
    EXPECT_NE(stream->functions, whenOpen);
    EXPECT_EQ(read(stream, 1).first, BASE_IO_HANDLE);
    EXPECT_EQ(write(stream, "x"), kRefused);
    BaseStreamClose(stream);
    stream->functions->ownFirst(stream);
  }
}

// A stale handle is no other stream's for long, and in the end records are taken again, in the order of closing; also
// when they are closed twice.
TEST_F(BaseUtilStreams, RecordsRestBeforeTheyAreTakenAgain) {
  constexpr std::ptrdiff_t kMany = 3000;
  std::vector<BaseStream*> closed;  // the last one first
  for (std::ptrdiff_t i = 0; i < kMany; ++i) {
    BaseStream* const stream = openMemory("new");
    EXPECT_EQ(read(stream, 9).second, "new");
    BaseStreamClose(stream);
    BaseStreamClose(stream);
    closed.insert(closed.begin(), stream);
  }
  const std::ptrdiff_t cycle = std::find(closed.begin() + 1, closed.end(), closed[0]) - closed.begin();
  EXPECT_LT(500, cycle);
  ASSERT_GT(kMany / 2, cycle);
  EXPECT_TRUE(std::equal(closed.begin(), closed.begin() + cycle, closed.begin() + cycle));
  EXPECT_EQ(static_cast<std::size_t>(cycle), std::set<BaseStream*>(closed.begin(), closed.begin() + cycle).size());
}

TEST_F(BaseUtilStreams, OnlyStreamsAreClosed) {
  static int calls = 0;
  const BaseStreamFunctions functions{[](BaseStream*) { ++calls; }, nullptr, nullptr};
  BaseStream own{};
  own.functions = &functions;
  BaseStreamClose(&own);
  for (const std::uintptr_t none : {0u, 0x1234u}) BaseStreamClose(reinterpret_cast<BaseStream*>(none));
  EXPECT_EQ(0, calls);
}

TEST(BaseUtilIoResults, MapToStatuses) {
  const std::pair<std::uint32_t, std::uint32_t> cases[] = {
      {0, ARB_OK},
      {BASE_IO_END, BASE_ERR_END},
      {BASE_IO_HANDLE, BASE_ERR_HANDLE},
      {BASE_IO_FULL, BASE_ERR_FULL},
      {BASE_IO_NOMEMORY, ARB_ERR_NOMEMORY},
      {BASE_IO_BADARG, ARB_ERR_BADARG},
      {BASE_IO_NOTFOUND, ARB_ERR_NOTFOUND},
      {BASE_IO_FAILED, BASE_ERR_IO},
      {0xFFFFFFFF, BASE_ERR_IO},
  };
  for (const auto& [result, status] : cases) EXPECT_EQ(BaseMapIoError(result), status) << result;
}

}  // namespace
