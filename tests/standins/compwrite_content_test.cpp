// compwrite: who writes a file, and that a target name shows a whole file or what was there before.
#ifndef _WIN32
#include <signal.h>
#include <sys/resource.h>
#endif

#include "standins/compwrite_fixture.h"
#include "support/threads.h"

namespace arbtree::compwritetest {
namespace {

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
  test::onFourThreads(50, [this](std::uint32_t t, std::uint32_t) {
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
}  // namespace arbtree::compwritetest
