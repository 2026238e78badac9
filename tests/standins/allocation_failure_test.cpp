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

// Runs the call with failures until one run meets none, which takes at least so many failures. `done` says whether the
// call has left its mark.
void failEach(int least, const std::function<std::uint32_t()>& call, const std::function<bool()>& done = nullptr) {
  for (int n = 1;; ++n) {
    const auto [status, fired] = [&] {
      const arbtree::test::FailingNew failing(n);
      const std::uint32_t answer = call();
      return std::pair(answer, failing.fired());
    }();
    ASSERT_EQ(status, fired ? ARB_ERR_NOMEMORY : ARB_OK) << "allocation " << n;
    if (done) {
      EXPECT_EQ(done(), !fired) << "allocation " << n;
    }
    if (fired) continue;
    EXPECT_GE(n - 1, least);
    return;
  }
}

// An own block each, so that no small text is kept inside a string.
const std::u16string kPath(300, u'p');
const std::string kExtension(200, 'e');

TEST(StandInAllocationFailure, HandlesAndRegistries) {
  ElemDefsHandle context = nullptr;
  failEach(
      1, [&] { return ElemDefsCreate(&context); }, [&] { return context != nullptr; });
  EXPECT_EQ(ElemDefsDestroy(context), ARB_OK);

  std::uint32_t source = 0;
  failEach(
      4, [&] { return SrcOpen(kPath.c_str(), kPath.c_str(), &source); }, [&] { return source != 0; });
  EXPECT_EQ(SrcClose(source), ARB_OK);

  SrcFormatInfo info;
  failEach(
      1, [] { return SrcRegisterFormat(7, kExtension.c_str()); },
      [&] { return SrcGetFormatInfo(7, 0, &info) == ARB_OK; });
  EXPECT_EQ(SrcUnregisterFormat(7), ARB_OK);

  failEach(
      1, [] { return RtSetTranslation(7, 8); }, [] { return RtTranslateException(7) == 8; });
  EXPECT_EQ(RtRemoveTranslation(7), ARB_OK);

  const BaseHostFunctions functions{};
  failEach(1, [&] { return BaseSetHostFunctions(7, &functions); });
  EXPECT_EQ(BaseSetHostFunctions(7, nullptr), ARB_OK);
}

TEST(StandInAllocationFailure, MemoryStream) {
  BaseStream* stream = nullptr;
  failEach(
      1, [&] { return BaseStreamOpenMemory("abc", 3, 0, &stream); }, [&] { return stream != nullptr; });
  std::string more(100000, 'm');
  std::uint32_t count = 99;
  failEach(
      1, [&] { return BaseMapIoError(stream->functions->write(stream, more.data(), 100000, &count)); },
      [&] { return count == 100000; });
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
  failEach(1, [&] { return CompWriteSetDirectory(&context, directory.c_str(), provideThree, nullptr); });

  ArbFile file{};
  const std::u16string name(100, u'n');
  name.copy(file.child.name, 259);
  failEach(1, [&] { return CompWriteFile(&context, &file, 0); });
  const std::filesystem::directory_iterator entries(folder.path);
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1) << "no temporary file stays";
  EXPECT_EQ(CompWriteRemoveWriter(&context), ARB_OK);
}

}  // namespace

#endif
