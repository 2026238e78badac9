// Metadata of nodes and child documents: every change of size, every way to read, what takes memory, and what a lack of
// memory leaves.
#include "tree/metadata.h"

#include <map>
#include <random>
#include <string>

#include "platform/heap.h"
#include "support/host.h"
#include "support/seed.h"

namespace arbtree::test {
namespace {

class Metadata : public TreeTest {
 protected:
  std::uint32_t below(std::size_t count) { return static_cast<std::uint32_t>(random() % count); }

  // A new value or a part of the old one. An entry takes a block, and a second one for more than four bytes; a value of
  // the same size takes the place of the old one, and one that finds no memory changes nothing.
  template <typename Owner, typename Set>
  void change(Owner* owner, std::uint32_t key, Set set) {
    const ArbMetadataEntry* entry = owner->metadata;
    while (entry && entry->key != key) entry = entry->next;
    const auto* const old = reinterpret_cast<const char*>(entry && below(2) ? metadata::valueOf(*entry) : nullptr);
    const std::uint32_t start = below(old ? entry->size + 1 : 14);
    const std::uint32_t size = below(old ? entry->size - start + 1 : 12);
    const char* const bytes = (old ? old : "abcdefghijklmnopqrstuvwxyz") + start;
    const std::string value(bytes, size);
    const bool inPlace = entry && entry->size == size;
    heap::testing::failAllocation(1 + below(3), true);
    ok(set(owner, key, size || below(2) ? bytes : nullptr, size));
    heap::testing::stopFailing();
    ASSERT_FALSE(inPlace && heap::testing::failureFired());
    if (!heap::testing::failureFired()) model[key] = value;
  }
  template <typename Owner, typename Get>
  void read(Owner* owner, std::uint32_t key, Get get) {
    const auto found = model.find(key);
    const bool there = found != model.end(), bounded = below(3) != 0, copied = below(3) != 0;
    const std::uint32_t capacity = below(14);
    std::string buffer(20, '#'), expected = buffer;
    std::uint32_t size = capacity;
    ASSERT_EQ(there ? ARB_OK : ARB_ERR_NOTFOUND,
              get(owner, key, copied ? buffer.data() : nullptr, bounded ? &size : nullptr));
    ASSERT_EQ(there && bounded ? found->second.size() : capacity, size);
    const bool fits = there && (!bounded || found->second.size() <= capacity);
    if (fits && copied) expected.replace(0, found->second.size(), found->second);
    ASSERT_EQ(expected, buffer);
  }
  template <typename Owner, typename Set, typename Get>
  void compareWithAMap(Owner* owner, Set set, Get get) {
    const std::uint64_t blocks = heap::testing::liveBlocks();
    for (int i = 0; i < 5000 && !HasFatalFailure(); ++i) {
      const std::uint32_t key = below(2) << 8 | below(3);
      below(2) ? change(owner, key, set) : read(owner, key, get);
      std::uint64_t expected = blocks;
      for (const auto& [each, value] : model) expected += value.size() > 4 ? 2u : 1u;
      ASSERT_EQ(expected, heap::testing::liveBlocks());
    }
    ok(set(owner, 7, nullptr, 1));
    EXPECT_EQ(ARB_ERR_NOTFOUND, get(owner, 7, nullptr, nullptr)) << "no value can be read from null";
  }

  std::mt19937 random{testSeed()};
  std::map<std::uint32_t, std::string> model;
};

TEST_F(Metadata, OfANodeAgreesWithAMap) { compareWithAMap(root, ArbNodeSetMetadata, ArbNodeGetMetadata); }
TEST_F(Metadata, OfAChildAgreesWithAMap) {
  compareWithAMap(asChild(tree), ArbForestChildSetMetadata, ArbForestChildGetMetadata);
}

}  // namespace
}  // namespace arbtree::test
