// Names of child documents: every code, every form of path, the cut at 259 units, and when paths are fetched.
#include <string>
#include <utility>

#include "support/host.h"
#include "support/standins.h"

namespace arbtree::test {
namespace {

std::u16string nameOf(Host& host, const char16_t* pattern) {
  ArbForest* const forest = host.makeForest(nullptr, pattern);
  const std::u16string name = forest->child.name;
  ok(ArbForestDestroy(forest));
  return name;
}

std::u16string nameWith(const char16_t* input, const char16_t* output, const char16_t* pattern) {
  const Source source(input, output);
  Host host(0, source.handle());
  return nameOf(host, pattern);
}

TEST(Naming, CodesAndPlainUnits) {
  struct Row {
    const char16_t* pattern;
    const char16_t* name;
  };
  for (const Row& row :
       {Row{nullptr, u"report.doc.zip"}, Row{u"", u""}, Row{u"plain", u"plain"}, Row{u"%x_%n.%e", u"report_2.zip"},
        Row{u"%b-%B", u"report-all"}, Row{u"%f|%F", u"report.doc|all.tar"}, Row{u"%x|%X", u"report|all"},
        Row{u"%%", u""}, Row{u"%%f", u"f"}, Row{u"a%qb", u"ab"}, Row{u"abc%", u"abc"}, Row{u"%", u""},
        Row{u"%E%N%d", u""}, Row{u"\xD83D\xDE00%n", u"\xD83D\xDE00\x32"}, Row{u"%n%n", u"22"}}) {
    EXPECT_EQ(row.name, nameWith(u"/in/report.doc", u"/out/all.tar", row.pattern));
  }
}

TEST(Naming, EveryFormOfPath) {
  struct Row {
    const char16_t* path;
    const char16_t *f, *b, *x;
  };
  for (const Row& row : {Row{u"report.doc", u"report.doc", u"report", u"report"},
                         Row{u"report.tar.gz", u"report.tar.gz", u"report.tar", u"report.tar"},
                         Row{u"report", u"report", u"", u"report"}, Row{u"/dir.d/report", u"report", u"", u"report"},
                         Row{u"dir.d\\report", u"report", u"", u"report"}, Row{u"/a/b\\c.d", u"c.d", u"c", u"c"},
                         Row{u"\\a\\b/c.d", u"c.d", u"c", u"c"}, Row{u"/dir/", u"", u"", u""},
                         Row{u"/dir.d/", u"", u"", u""}, Row{u".profile", u".profile", u"", u".profile"},
                         Row{u"/.profile", u".profile", u"", u""}, Row{u"/dir/.profile", u".profile", u"", u""},
                         Row{u"a.", u"a.", u"a", u"a"}, Row{u".", u".", u"", u"."}, Row{u"..", u"..", u".", u"."},
                         Row{u"/", u"", u"", u""}, Row{u"", u"", u"", u""}, Row{nullptr, u"out.xml", u"out", u"out"}}) {
    SCOPED_TRACE(row.path ? testing::PrintToString(row.path) : "none");
    EXPECT_EQ(row.f, nameWith(row.path, u"other", u"%f"));
    EXPECT_EQ(row.b, nameWith(row.path, u"other", u"%b"));
    EXPECT_EQ(row.x, nameWith(row.path, u"other", u"%x"));
    EXPECT_EQ(row.f, nameWith(u"other", row.path, u"%F"));
    EXPECT_EQ(row.b, nameWith(u"other", row.path, u"%B"));
    EXPECT_EQ(row.x, nameWith(u"other", row.path, u"%X"));
  }
}

TEST(Naming, CutAt259Units) {
  const std::u16string long250(250, u'p');
  const std::u16string path = u"/" + std::u16string(20, u'q') + u".doc";
  EXPECT_EQ(std::u16string(259, u'z'), nameWith(u"in", u"out", std::u16string(300, u'z').c_str()));
  EXPECT_EQ(std::u16string(259, u'z'), nameWith(u"in", u"out", std::u16string(259, u'z').c_str()));
  EXPECT_EQ(long250 + std::u16string(9, u'q'), nameWith(path.c_str(), u"out", (long250 + u"%fxyz").c_str()));
  EXPECT_EQ(long250 + u"12345678" + u"2", nameWith(u"in", u"out", (long250 + u"12345678%n%n").c_str()));
  EXPECT_EQ(long250 + u"1234567" + u"zi", nameWith(u"in", u"out", (long250 + u"1234567%e").c_str()));
  EXPECT_EQ(std::u16string(259, u'p'), nameWith(std::u16string(5000, u'p').c_str(), u"out", u"%f%n"));
}

TEST(Naming, TheChildsFormatAndNumber) {
  Host host(0, 0, u"%n:%e");
  EXPECT_EQ(u"1:zip", std::u16string(host.document->rootForest->child.name));
  EXPECT_EQ(u"2:xml", std::u16string(asChild(host.makeTree(nullptr, u"%n:%e"))->name));
  host.document->childCounter = 0x7FFFFFFF;
  EXPECT_EQ(u"-2147483648", nameOf(host, u"%n")) << "numbers are written as signed";
}

// Slots that count their calls and fail until they are told otherwise.
struct Fetches {
  int input = 0, output = 0;
  bool fails = true;
  std::uint32_t handle = 0;
} fetches;
template <int Fetches::*Count>
std::uint32_t ARB_CALL fetch(std::uint32_t source, std::uint32_t* handle) {
  EXPECT_EQ(4711u, source);
  EXPECT_EQ(0xFFFFFFFFu, *handle);
  ++(fetches.*Count);
  if (fetches.fails) return 5;
  *handle = fetches.handle;
  return 0;
}
void setSlot(Host& host, std::uint32_t slot, ArbFileHandleFunction function) {
  ok(ArbDocumentSetInterface(host.document, slot, reinterpret_cast<ArbInterfaceFunction>(function)));
}

TEST(Naming, APathIsFetchedUntilItIsThereAndThenKept) {
  Host host(0, 4711, u"%f");
  EXPECT_EQ(u"out.xml", std::u16string(host.document->rootForest->child.name));
  fetches = {};
  setSlot(host, ARB_INTERFACE_FILE_HANDLE, fetch<&Fetches::input>);
  setSlot(host, ARB_INTERFACE_OUTPUT_FILE_HANDLE, fetch<&Fetches::output>);
  EXPECT_EQ(u"out.xml", nameOf(host, u"%f"));
  EXPECT_EQ(u"plain", nameOf(host, u"plain")) << "every naming fetches, whatever its pattern";
  EXPECT_EQ(2, fetches.input);
  EXPECT_EQ(2, fetches.output);

  fetches.fails = false;
  fetches.handle = 0xFFFFFFFFu;  // not a handle, so that the path name fails
  EXPECT_EQ(u"out.xml", nameOf(host, u"%f"));
  EXPECT_EQ(3, fetches.input);
  ok(BaseRegisterPath(u"/a/file.txt", &fetches.handle));
  EXPECT_EQ(u"file.txt file", nameOf(host, u"%f %B"));
  ok(BaseReleaseHandle(fetches.handle));
  EXPECT_EQ(u"file.txt file", nameOf(host, u"%f %B"));
  EXPECT_EQ(4, fetches.input);
  EXPECT_EQ(4, fetches.output);
}

// A slot's function that asks for the path meanwhile, through the variable that the outer call was given: the path is
// fetched once, and the buffer's size is what it was.
TEST(Naming, ASlotAsksForThePathItself) {
  static ArbForestChild* child;
  static std::uint32_t handle, size;
  static bool asks;
  Host host(0, 4711, u"%f");
  child = asChild(host.makeForest(host.document->rootForest, u"name"));
  ok(BaseRegisterPath(u"/some/folder/out.xml", &handle));
  setSlot(host, ARB_INTERFACE_OUTPUT_FILE_HANDLE, [](std::uint32_t, std::uint32_t* fetched) -> std::uint32_t {
    *fetched = handle;
    if (std::exchange(asks, false)) {
      size = 0;
      EXPECT_EQ(ARB_ERR_SMALLBUFFER, ArbForestChildGetDocumentPath(child, nullptr, &size));
    }
    return 0;
  });
  asks = true;
  char16_t buffer[64] = u"####";
  size = 4;
  EXPECT_EQ(ARB_ERR_SMALLBUFFER, ArbForestChildGetDocumentPath(child, buffer, &size));
  EXPECT_EQ(std::u16string(u"\0###", 4), std::u16string(buffer, 4));
  EXPECT_EQ(ARB_OK, ArbForestChildGetDocumentPath(child, buffer, &size));
  EXPECT_EQ(std::u16string(u"/some/folder/name"), buffer);
  ok(BaseReleaseHandle(handle));
}

}  // namespace
}  // namespace arbtree::test
