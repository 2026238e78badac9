// Interned strings: one record a text, the search tree of their links, comparing and hashing.
#include <random>
#include <string>
#include <vector>

#include "support/host.h"
#include "support/seed.h"

namespace arbtree::test {
namespace {

// The unbalanced search tree, walked from its root for every text.
struct PlainTree {
  struct Entry {
    std::u16string text;
    std::uint32_t greater = 0, less = 0;
  };
  std::vector<Entry> entries;

  std::uint32_t request(const std::u16string& text) {
    std::uint32_t at = 0;
    while (at < entries.size() && entries[at].text != text) {
      std::uint32_t& link = entries[at].text < text ? entries[at].greater : entries[at].less;
      if (link == 0) link = static_cast<std::uint32_t>(entries.size());
      at = link;
    }
    if (at == entries.size()) entries.push_back({text});
    return at;
  }
};

class Strings : public testing::Test {
 protected:
  static void compareOn(Host& owner, const std::vector<std::u16string>& texts) {
    const StringTable& table = owner.document->strings;
    PlainTree model;
    for (const std::u16string& text : texts) {
      const std::uint32_t index = model.request(text);
      const ArbString* const string = owner.makeString(text);
      ASSERT_EQ(table.entries[index], string);
    }
    ASSERT_EQ(model.entries.size(), table.count);
    for (std::uint32_t i = 0; i < table.count; ++i) {
      const PlainTree::Entry& entry = model.entries[i];
      const ArbString& string = *table.entries[i];
      ASSERT_EQ(entry.text, string.text) << i;
      ASSERT_EQ(entry.text.size(), string.length) << i;
      ASSERT_EQ(entry.greater, string.greater) << i;
      ASSERT_EQ(entry.less, string.less) << i;
    }
  }

  Host host;
};

std::u16string chapter(std::uint32_t number) {
  const std::string digits = std::to_string(number + 1'000'000);
  return u"chapter" + std::u16string(digits.begin(), digits.end());
}

// In ascending order, descending with each text twice, and towards the middle from both ends, where neighbours change
// with every text.
TEST_F(Strings, LinksOfOrderedTexts) {
  for (const int order : {0, 1, 2}) {
    Host fresh;
    std::vector<std::u16string> texts;
    for (std::uint32_t i = 0; i < 1500; ++i) {
      texts.push_back(chapter(order == 1 ? 1500 - i : i));
      if (order == 1) texts.push_back(texts.back());
      if (order == 2) texts.push_back(chapter(4000 - i));
    }
    compareOn(fresh, texts);
  }
}

TEST_F(Strings, LinksOfRandomTexts) {
  const std::u16string units = u"ab\x01\x7F\x80\xD800\xDFFF\xFF41\xFFFF";
  std::mt19937 random(testSeed());
  std::vector<std::u16string> texts(20'000);
  for (std::u16string& text : texts) {
    text.resize(random() % 6);
    for (char16_t& unit : text) unit = units[random() % units.size()];
  }
  compareOn(host, texts);
}

TEST_F(Strings, OneRecordForOneText) {
  const std::u16string text = u"name";
  ArbString* const string = host.makeString(text);
  EXPECT_EQ(string, host.makeString(text));
  EXPECT_NE(text.data(), string->text);
  EXPECT_EQ(nullptr, string->boundRef);
  Host other;
  EXPECT_NE(string, other.makeString(text)) << "every document has its own";
  EXPECT_EQ(0, ArbStringCompare(string, other.makeString(text)));
  EXPECT_EQ(1u, host.document->strings.count);
}

TEST_F(Strings, Order) {
  std::vector<ArbString*> ascending = {nullptr};
  for (const char16_t* const text : {u"", u"ID10", u"ID2", u"a", u"ab", u"abc", u"a\x8000", u"a\xFFFF", u"\x7FFF",
                                     u"\x8000", u"\xD83D\xDE00", u"\xFF41"}) {
    ascending.push_back(host.makeString(text));
  }
  for (std::size_t a = 0; a < ascending.size(); ++a) {
    for (std::size_t b = 0; b < ascending.size(); ++b) {
      EXPECT_EQ((a > b) - (a < b), ArbStringCompare(ascending[a], ascending[b])) << a << " and " << b;
    }
  }
}

TEST_F(Strings, HashesWrittenOut) {
  struct Row {
    std::u16string text;
    std::uint32_t hash;
  };
  const std::u16string half = std::u16string(32767, u'x') + u'y';
  for (const Row& row : {Row{u"", 0}, Row{u"abc", 0x00620002}, Row{u"ab", 0x00620061}, Row{u"a", 0x61},
                         Row{u"\x1234", 0x12 ^ 0x34}, Row{u"ab\x1234", 0x00620061 ^ 0x12 ^ 0x34}, Row{u"abab", 0},
                         // Only (2 x length) modulo 65536 bytes count: none of 32768 units, two of 32769.
                         Row{half, 0}, Row{u"a" + half, 0x61}, Row{u"ab" + half, 0x00620061}}) {
    EXPECT_EQ(row.hash, ArbStringGetHashCode(host.makeString(row.text))) << row.text.size();
  }
  EXPECT_EQ(0u, ArbStringGetHashCode(nullptr));
}

}  // namespace
}  // namespace arbtree::test
