// The order in which a tree's pool hands out cells, compared with a plain search over all of them.
#include "tree/cell_pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <memory>
#include <random>
#include <set>
#include <vector>

#include "support/plain_pool.h"
#include "support/seed.h"
#include "tree/lowest_set.h"

namespace arbtree::test {
namespace {

// The pool of a tree record without a tree around it, in a document record that keeps the spare blocks.
class CellPool : public testing::Test {
 protected:
  CellPool() { tree->child.document = &document; }
  ~CellPool() override {
    destroyCells(*tree);
    destroySpareCells(document);
  }

  ArbNodeRef* take() { return takeCell(*tree); }
  Place placeOf(const ArbNodeRef* cell) const { return test::placeOf(*tree, cell); }

  ArbDocument document{};
  std::unique_ptr<ArbTree> tree = std::make_unique<ArbTree>();
};

// Blocks go from tree to tree, with what their cells held; a new tree has all of them free, in the same order.
TEST_F(CellPool, BlocksOfATreeThatIsGoneServeTheNext) {
  for (std::uint32_t i = 0; i < 40 * kCellsPerBlock; ++i) {
    *take() = {ARB_REF_FREED, i};
    ASSERT_EQ(i / kCellsPerBlock + 1, tree->cellBlockCount);
    ASSERT_EQ(std::max(16u, std::bit_ceil(tree->cellBlockCount)), tree->cellBlockCapacity);
  }
  const std::set<CellBlock*> blocks(tree->cellBlocks, tree->cellBlocks + tree->cellBlockCount);
  destroyCells(*tree);
  EXPECT_GT(document.spareCellBlockCount, 0u);
  EXPECT_LT(document.spareCellBlockCount, 40u);
  tree = std::make_unique<ArbTree>();
  tree->child.document = &document;
  for (std::uint32_t i = 0; i < 40 * kCellsPerBlock; ++i) {
    ASSERT_EQ((Place{i / kCellsPerBlock, i % kCellsPerBlock}), placeOf(take())) << i;
  }
  EXPECT_EQ(0u, document.spareCellBlockCount);
  EXPECT_TRUE(blocks.contains(tree->cellBlocks[0]));
}

TEST_F(CellPool, CellsThatAreNotTakenAreIgnored) {
  ArbNodeRef* const cell = take();
  ArbNodeRef foreign{};
  giveBackCell(*tree, &foreign);
  giveBackCell(*tree, nullptr);
  giveBackCell(*tree, tree->cellBlocks[0]->cells + kCellsPerBlock);
  giveBackCell(*tree, cell + 1);  // has not been taken
  EXPECT_EQ(1u, tree->cellBlocks[0]->usedCount);
  EXPECT_EQ((Place{0, 1}), placeOf(take()));
}

TEST_F(CellPool, AnyOrderOfTakingAndGivingBack) {
  std::mt19937 random(testSeed());
  PlainPool model;
  std::vector<std::pair<ArbNodeRef*, Place>> live;
  // Phases that grow, hold, shrink and empty the pool, so that blocks fill, empty and fill again.
  for (const std::uint32_t takePercent : {95u, 50u, 10u, 80u, 45u, 98u, 0u, 60u, 98u, 5u, 60u}) {
    for (int i = 0; i < 20000; ++i) {
      if (takePercent == 0 ? i == 0 : live.empty() || random() % 100 < takePercent) {
        ArbNodeRef* const cell = take();
        const Place expected = model.take();
        ASSERT_EQ(expected, placeOf(cell));
        live.emplace_back(cell, expected);
      } else {
        std::swap(live[random() % live.size()], live.back());
        giveBackCell(*tree, live.back().first);
        model.giveBack(live.back().second);
        live.pop_back();
      }
    }
    std::size_t used = 0;
    for (std::size_t b = 0; b < tree->cellBlockCount; ++b) used += tree->cellBlocks[b]->usedCount;
    ASSERT_EQ(live.size(), used);
  }
  EXPECT_LT(4u, model.blockCount());
  EXPECT_EQ(model.blockCount(), tree->cellBlockCount);
}

TEST(LowestSet, IsAnOrderedSet) {
  std::mt19937 random(testSeed());
  LowestSet set{};
  EXPECT_EQ(LowestSet::kNone, set.lowest());
  std::set<std::uint32_t> model;
  for (const std::uint32_t capacity : {1u, 64u, 65u, 4096u, 5000u, 300000u}) {
    ASSERT_TRUE(set.reserve(capacity));
    ASSERT_LE(capacity, set.capacity());
    for (int i = 0; i < 400; ++i) {
      const auto index = static_cast<std::uint32_t>(random() % capacity);
      const bool enters = random() % 2;
      enters ? set.insert(index) : set.erase(index);
      enters ? void(model.insert(index)) : void(model.erase(index));
      ASSERT_EQ(enters, set.contains(index));
      ASSERT_EQ(model.empty() ? LowestSet::kNone : *model.begin(), set.lowest());
    }
  }
  set.destroy();
}

}  // namespace
}  // namespace arbtree::test
