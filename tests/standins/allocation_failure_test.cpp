// The stand-ins when memory is short: each call that allocates is run with its n-th allocation failing, for every n,
// and then answers ARB_ERR_NOMEMORY and has changed nothing.
// Not on Windows, where no replaced operator new reaches into shared libraries.
#ifndef _WIN32

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <random>
#include <string>

#include "arbtree/baseutil.h"
#include "arbtree/compwrite.h"
#include "arbtree/elemdefs.h"
#include "arbtree/rtcore.h"
#include "arbtree/srcaccess.h"
#include "support/failing_new.h"

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
  EXPECT_GT(failEach([&] {
              const std::uint32_t status = ElemDefsCreate(&context);
              EXPECT_TRUE(status == ARB_OK || !context);
              return status;
            }),
            0);
  EXPECT_EQ(ElemDefsDestroy(context), ARB_OK);

  std::uint32_t source = 0;
  EXPECT_GT(failEach([&] {
              const std::uint32_t status = SrcOpen(kPath.c_str(), kPath.c_str(), &source);
              EXPECT_TRUE(status == ARB_OK || !source);
              return status;
            }),
            3);
  EXPECT_EQ(SrcClose(source), ARB_OK);

  EXPECT_GT(failEach([] {
              const std::uint32_t status = SrcRegisterFormat(7, kExtension.c_str());
              SrcFormatInfo info;
              EXPECT_EQ(SrcGetFormatInfo(7, 0, &info), status == ARB_OK ? ARB_OK : SRC_ERR_UNKNOWN_FORMAT);
              return status;
            }),
            0);
  EXPECT_EQ(SrcUnregisterFormat(7), ARB_OK);

  EXPECT_GT(failEach([] {
              const std::uint32_t status = RtSetTranslation(7, 8);
              EXPECT_EQ(RtTranslateException(7), status == ARB_OK ? 8u : RT_STATUS_EXCEPTION);
              return status;
            }),
            0);
  EXPECT_EQ(RtRemoveTranslation(7), ARB_OK);

  const BaseHostFunctions functions{};
  EXPECT_GT(failEach([&] { return BaseSetHostFunctions(7, &functions); }), 0);
  EXPECT_EQ(BaseSetHostFunctions(7, nullptr), ARB_OK);
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
  namespace fs = std::filesystem;
  const fs::path out = fs::temp_directory_path() / ("arbtree-allocation-" + std::to_string(std::random_device{}()));
  ASSERT_TRUE(fs::create_directory(out));
  const std::u16string directory = out.u16string();
  ArbHostContext context{};
  EXPECT_GT(failEach([&] { return CompWriteSetDirectory(&context, directory.c_str(), provideThree, nullptr); }), 0);

  ArbFile file{};
  const std::u16string name(100, u'n');
  name.copy(file.child.name, 259);
  EXPECT_GT(failEach([&] { return CompWriteFile(&context, &file, 0); }), 0);
  EXPECT_EQ(std::distance(fs::directory_iterator(out), fs::directory_iterator()), 1) << "no temporary file stays";
  EXPECT_EQ(CompWriteRemoveWriter(&context), ARB_OK);
  fs::remove_all(out);
}

}  // namespace

#endif
