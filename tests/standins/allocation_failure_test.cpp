// The stand-ins when memory is short: each call that allocates is run with its n-th allocation failing, for every n,
// and then answers ARB_ERR_NOMEMORY and has changed nothing.
// Not on Windows, where no replaced operator new reaches into shared libraries.
#ifndef _WIN32

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "arbtree/baseutil.h"
#include "arbtree/compwrite.h"
#include "arbtree/elemdefs.h"
#include "arbtree/rtcore.h"
#include "arbtree/srcaccess.h"
#include "support/failing_new.h"
#include "support/temporary_folder.h"

namespace {

// Runs the call with failures until one run meets none; the number of failures seen.
int failEach(const std::function<std::uint32_t()>& call) {
  for (int n = 1;; ++n) {
    const auto [status, fired] = [&] {
      const arbtree::test::FailingNew failing(n);
      const std::uint32_t answer = call();
      return std::pair(answer, failing.fired());
    }();
    EXPECT_EQ(status, fired ? ARB_ERR_NOMEMORY : ARB_OK) << "allocation " << n;
    if (!fired || n == 1000) return n - 1;
  }
}

// An own block each, so that no small text is kept inside a string.
const std::u16string kPath(300, u'p');
const std::string kExtension(200, 'e');

TEST(StandInAllocationFailure, HandlesAndRegistries) {
  ElemDefsHandle context = nullptr;
  std::uint32_t source = 0;
  const BaseHostFunctions functions{};
  struct Row {
    const char* name;
    int least;
    std::function<std::uint32_t()> call;
    std::function<bool()> done;  // whether the call has left its mark
    std::function<std::uint32_t()> undo;
  };
  const Row rows[] = {
      {"context", 1, [&] { return ElemDefsCreate(&context); }, [&] { return context != nullptr; },
       [&] { return ElemDefsDestroy(context); }},
      {"source", 4, [&] { return SrcOpen(kPath.c_str(), kPath.c_str(), &source); }, [&] { return source != 0; },
       [&] { return SrcClose(source); }},
      {"format", 1, [] { return SrcRegisterFormat(7, kExtension.c_str()); },
       [] {
         SrcFormatInfo info;
         return SrcGetFormatInfo(7, 0, &info) == ARB_OK;
       },
       [] { return SrcUnregisterFormat(7); }},
      {"translation", 1, [] { return RtSetTranslation(7, 8); }, [] { return RtTranslateException(7) == 8; },
       [] { return RtRemoveTranslation(7); }},
      {"host functions", 1, [&] { return BaseSetHostFunctions(7, &functions); }, nullptr,
       [] { return BaseSetHostFunctions(7, nullptr); }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const int failures = failEach([&] {
      const std::uint32_t status = row.call();
      EXPECT_EQ(status == ARB_OK, row.done ? row.done() : status == ARB_OK);
      return status;
    });
    EXPECT_GE(failures, row.least);
    EXPECT_EQ(row.undo(), ARB_OK);
  }
}

TEST(StandInAllocationFailure, MemoryStream) {
  BaseStream* stream = nullptr;
  EXPECT_GT(failEach([&] { return BaseStreamOpenMemory("abc", 3, 0, &stream); }), 0);
  ASSERT_TRUE(stream);
  std::string more(100000, 'm');
  std::uint32_t count = 99;
  EXPECT_GT(failEach([&] {
              const std::uint32_t result = stream->functions->write(stream, more.data(), 100000, &count);
              EXPECT_EQ(count, result == BASE_IO_OK ? 100000u : 0u);
              return BaseMapIoError(result);
            }),
            0);
  std::string bytes(100003, '?');
  EXPECT_EQ(stream->functions->read(stream, bytes.data(), 100003, &count), BASE_IO_OK);
  EXPECT_EQ(bytes, "abc" + more) << "the failed writes added nothing";
  BaseStreamClose(stream);
}

std::uint32_t ARB_CALL provideThree(ArbFile*, std::uint32_t, std::uint64_t offset, void* buffer, std::uint32_t,
                                    std::uint32_t* byteCount, void*) {
  *byteCount = offset == 0 ? static_cast<std::uint32_t>(std::string("abc").copy(static_cast<char*>(buffer), 3)) : 0;
  return ARB_OK;
}

TEST(StandInAllocationFailure, DirectoryWriter) {
  const arbtree::test::TemporaryFolder folder;
  const std::u16string directory = folder.path.u16string();
  ArbHostContext context{};
  EXPECT_GT(failEach([&] { return CompWriteSetDirectory(&context, directory.c_str(), provideThree, nullptr); }), 0);

  ArbFile file{};
  const std::u16string name(100, u'n');
  name.copy(file.child.name, 259);
  EXPECT_GT(failEach([&] { return CompWriteFile(&context, &file, 0); }), 0);
  const std::filesystem::directory_iterator entries(folder.path);
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1) << "no temporary file stays";
  EXPECT_EQ(CompWriteRemoveWriter(&context), ARB_OK);
}

}  // namespace

#endif
