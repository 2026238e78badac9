// Where child documents belong in the output: the directory, the archive forests, the capacity rules.
#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "support/host.h"
#include "support/seed.h"
#include "support/standins.h"

namespace arbtree::test {
namespace {

constexpr char16_t kGuard = u'#';

struct Path {
  std::u16string text;
  std::size_t needed;  // the capacity that it asks for
  bool operator==(const Path&) const = default;
};

// The path, after every capacity that matters has been tried.
Path pathOf(ArbForestChild* child) {
  std::uint32_t needed = 0;
  EXPECT_EQ(ARB_ERR_SMALLBUFFER, ArbForestChildGetDocumentPath(child, nullptr, &needed));
  std::u16string path;
  for (const std::uint32_t capacity : {0u, 1u, needed / 2, needed - 1, needed, needed + 1, 0xFFFFFFFFu}) {
    SCOPED_TRACE(testing::Message() << "capacity " << capacity << " for " << needed);
    const bool fits = capacity >= needed;
    std::u16string buffer(needed + 2, kGuard);
    std::uint32_t size = capacity;
    EXPECT_EQ(fits ? ARB_OK : ARB_ERR_SMALLBUFFER, ArbForestChildGetDocumentPath(child, buffer.data(), &size));
    EXPECT_EQ(needed, size);
    const std::size_t end = buffer.find(u'\0');
    if (fits) {
      path = buffer.substr(0, end);
      EXPECT_LT(path.size(), needed);
    } else {
      EXPECT_EQ(capacity == 0 ? std::u16string::npos : 0, end) << "the empty text, unless there is room for nothing";
    }
    const std::size_t written = end == std::u16string::npos ? 0 : end + 1;
    EXPECT_EQ(std::u16string(buffer.size() - written, kGuard), buffer.substr(written));
    size = capacity;
    EXPECT_EQ(fits ? ARB_OK : ARB_ERR_SMALLBUFFER, ArbForestChildGetDocumentPath(child, nullptr, &size));
    EXPECT_EQ(needed, size);
  }
  return {path, needed};
}

// The path built from the chain's end downwards.
Path plainPath(const ArbForestChild* child, const std::u16string& output) {
  std::vector<const ArbForestChild*> chain;
  for (const ArbForestChild* link = child; link; link = link->parent ? &link->parent->child : nullptr)
    chain.push_back(link);
  bool prefix = true;
  Path model{{}, 1};
  for (const ArbForestChild* const link : chain) {
    if (link->kind != ARB_CHILD_FOREST) continue;
    const std::uint32_t type = reinterpret_cast<const ArbForest*>(link)->archiveType;
    if (type == 0 || type == 1) prefix = true;
    if (type == 2 || type == 3) prefix = false;
  }
  if (prefix) model.needed += output.size();
  if (prefix && chain.size() > 1) {
    model.text = output;
    while (!model.text.empty() && model.text.back() != u'/' && model.text.back() != u'\\') model.text.pop_back();
  }
  std::reverse(chain.begin(), chain.end());
  for (const ArbForestChild* const link : chain) {
    const std::u16string name = link->name;
    if (link == child) {
      model.text += name;
      model.needed += name.size();
    } else if (reinterpret_cast<const ArbForest*>(link)->archiveType != 0) {
      model.text += name + u"/";
      model.needed += name.size() + 1;
    }
  }
  return model;
}

// Forests below the root forest and beside it, each with a tree, and a file in no forest.
TEST(DocumentPath, RandomForestsAgreeWithTheChainWalkedFromItsEnd) {
  std::mt19937 random(testSeed());
  const auto below = [&](std::size_t count) { return static_cast<std::uint32_t>(random() % count); };
  const std::u16string longest(259, u'l');
  const char16_t* const outputs[] = {u"/out/dir\\x", u"C:\\", u"/a/b\\c", u"a\\b/c", u"report.xml", u"/r",
                                     u"\\r",         u"dir/", u"/",       u"//x",    u"",           nullptr};
  const char16_t* const names[] = {u"", u"n", u"two", u"with/separator", longest.c_str()};
  for (int round = 0; round < 80; ++round) {
    const char16_t* const output = outputs[below(std::size(outputs))];
    const Source source(nullptr, output);
    Host host(0, source.handle(), names[below(5)]);
    ArbForest* const loose = host.makeForest(nullptr, names[below(5)]);
    std::vector<ArbForest*> forests = {host.document->rootForest, loose};
    for (ArbForest* const forest : forests) forest->archiveType = below(6);
    std::vector<ArbForestChild*> children = {asChild(forests[0]), asChild(loose), &host.makeFile(u"file")->child};
    for (int i = 0; i < 15; ++i) {
      ArbForest* const parent = forests[forests.size() - 1 - below(std::min<std::size_t>(forests.size(), 3))];
      forests.push_back(host.makeForest(parent, names[below(5)]));
      forests.back()->archiveType = below(6);
      children.push_back(asChild(forests.back()));
      children.push_back(asChild(host.makeTree(forests.back(), names[below(5)])));
    }
    for (ArbForestChild* const child : children) {
      ASSERT_TRUE(plainPath(child, output ? output : u"") == pathOf(child));
    }
    ok(ArbForestDestroy(loose));
    ok(ArbFileDestroy(reinterpret_cast<ArbFile*>(children[2])));
  }
}

}  // namespace
}  // namespace arbtree::test
