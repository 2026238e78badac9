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

struct Transfer {
  std::uint32_t result;
  std::string bytes;
};

Transfer read(BaseStream* stream, std::uint32_t byteCount) {
  std::string bytes(byteCount, '?');
  std::uint32_t count = 99;
  const std::uint32_t result = stream->functions->read(stream, bytes.data(), byteCount, &count);
  EXPECT_LE(count, byteCount);
  bytes.resize(count);
  return {result, bytes};
}

// The result, and how many bytes were taken.
std::pair<std::uint32_t, std::uint32_t> write(BaseStream* stream, std::string bytes) {
  std::uint32_t count = 99;
  const std::uint32_t result =
      stream->functions->write(stream, bytes.data(), static_cast<std::uint32_t>(bytes.size()), &count);
  return {result, count};
}

const std::pair<std::uint32_t, std::uint32_t> kRefused{BASE_IO_HANDLE, 0};

class BaseUtilStreams : public ::testing::Test {
 protected:
  // A name outside ASCII and outside the basic plane, so that paths are seen to be converted.
  std::filesystem::path file() const { return directory / std::filesystem::path(u"f\u00FC\u20AC\U0010FFFD.bin"); }

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
  const std::filesystem::path directory = folder.path;
};

TEST_F(BaseUtilStreams, AreQueuesOfBytes) {
  for (const bool inFile : {false, true}) {
    SCOPED_TRACE(inFile);
    BaseStream* const stream = inFile ? openFile(BASE_OPEN_CREATE) : openMemory();
    ASSERT_TRUE(stream);
    std::string written;
    std::string got;
    // Reads and writes of growing lengths in turn: a read never moves the place of the next write.
    for (std::uint32_t i = 0; i < 300; ++i) {
      std::string bytes(i * 7 % 90, static_cast<char>('a' + i % 26));
      ASSERT_EQ(write(stream, bytes), std::pair(BASE_IO_OK, static_cast<std::uint32_t>(bytes.size())));
      written += bytes;
      const auto wanted = static_cast<std::uint32_t>(std::min<std::size_t>(i * 5 % 80, written.size() - got.size()));
      const Transfer transfer = read(stream, wanted);
      ASSERT_EQ(transfer.result, BASE_IO_OK);
      got += transfer.bytes;
    }
    const auto rest = static_cast<std::uint32_t>(written.size() - got.size());
    ASSERT_GT(rest, 0u);
    const Transfer last = read(stream, rest + 10);
    EXPECT_EQ(last.result, BASE_IO_END) << "a short read must not look like a whole one";
    EXPECT_EQ(got + last.bytes, written);
    EXPECT_EQ(read(stream, 1).result, BASE_IO_END);
    EXPECT_EQ(write(stream, "more"), std::pair(BASE_IO_OK, 4u)) << "the end of data is not an end for good";
    EXPECT_EQ(read(stream, 4).bytes, "more");
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
  EXPECT_EQ(write(stream, "defg"), std::pair(BASE_IO_FULL, 2u));
  EXPECT_EQ(write(stream, "x"), std::pair(BASE_IO_FULL, 0u));
  EXPECT_EQ(read(stream, 4).bytes, "abcd");
  EXPECT_EQ(write(stream, "1234"), std::pair(BASE_IO_OK, 4u));
  EXPECT_EQ(read(stream, 5).bytes, "e1234");
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
  EXPECT_EQ(read(stream, 5).bytes, "hello");
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
  EXPECT_EQ(write(stream, "x"), std::pair(BASE_IO_FULL, 0u));
  BaseStreamClose(stream);
}
#endif

TEST_F(BaseUtilStreams, AClosedStreamRefusesEverything) {
  for (BaseStream* const stream : {openMemory("abc"), openFile(BASE_OPEN_CREATE)}) {
    const BaseStreamFunctions* const whenOpen = stream->functions;
    BaseStreamClose(stream);
    EXPECT_NE(stream->functions, whenOpen);
    EXPECT_EQ(read(stream, 1).result, BASE_IO_HANDLE);
    EXPECT_EQ(write(stream, "x"), kRefused);
    BaseStreamClose(stream);
    stream->functions->ownFirst(stream);
  }
  BaseStreamClose(nullptr);
  // Closed twice, yet on the free list once: the records taken again are different ones.
  BaseStream* const first = openMemory("1");
  BaseStream* const second = openMemory("2");
  BaseStream* const third = openMemory("3");
  EXPECT_EQ(read(first, 1).bytes + read(second, 1).bytes + read(third, 1).bytes, "123");
  for (BaseStream* const stream : {first, second, third}) BaseStreamClose(stream);
}

// A stale handle is no other stream's for long, and in the end records are taken again, in the order of closing.
TEST_F(BaseUtilStreams, RecordsRestBeforeTheyAreTakenAgain) {
  constexpr int kMany = 3000;
  std::vector<BaseStream*> closed;
  std::set<BaseStream*> different;
  for (int i = 0; i < kMany; ++i) {
    BaseStream* const stream = openMemory("new");
    EXPECT_EQ(read(stream, 9).bytes, "new");
    for (std::size_t recent = closed.size() - std::min<std::size_t>(closed.size(), 500); recent < closed.size();
         ++recent) {
      ASSERT_NE(stream, closed[recent]);
    }
    BaseStreamClose(stream);
    closed.push_back(stream);
    different.insert(stream);
  }
  EXPECT_GT(kMany / 2, static_cast<int>(different.size()));
  const auto before = std::find(closed.begin(), closed.end() - 1, closed.back()) - closed.begin();
  const auto cycle = static_cast<std::ptrdiff_t>(different.size());
  EXPECT_EQ(closed[static_cast<std::size_t>(before)], closed[static_cast<std::size_t>(before + cycle)]);
}

TEST_F(BaseUtilStreams, OnlyStreamsAreClosed) {
  int called = 0;
  static int* calls;
  calls = &called;
  const BaseStreamFunctions functions{[](BaseStream*) { ++*calls; }, nullptr, nullptr};
  BaseStream own{};
  own.functions = &functions;
  BaseStreamClose(&own);
  BaseStreamClose(reinterpret_cast<BaseStream*>(std::uintptr_t{0x1234}));
  EXPECT_EQ(0, called);
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
      {8, BASE_ERR_IO},
      {0xFFFFFFFF, BASE_ERR_IO},
  };
  for (const auto& [result, status] : cases) EXPECT_EQ(BaseMapIoError(result), status) << result;
}

}  // namespace
