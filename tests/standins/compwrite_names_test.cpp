// compwrite: where the directory writer puts a file, and that neither its names nor what lies in the directory lead
// out.
#include "standins/compwrite_fixture.h"

namespace arbtree::compwritetest {
namespace {

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

}  // namespace
}  // namespace arbtree::compwritetest
