// Taking a cell from a tree's pool and giving it back, with few and with many cells alive: 10 thousand and 10 million,
// or a thousand and a million. The two pools are measured in turns: ns is the large one, base_ns the small one, ratio
// what the same work costs more in the large.
//
// A larger pool has a larger footprint, and waiting for memory is not the pool's doing. So the same cells are also
// touched without the pool, together with their places in the books of their blocks and in the same order: the ratio of
// that is touch_ratio, and beyond_memory is ratio / touch_ratio.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <random>
#include <vector>

#include "support/comparison.h"
#include "support/memory.h"
#include "tree/cell_pool.h"

namespace arbtree::bench {
namespace {

constexpr std::size_t kBatch = 500;
constexpr int kBatchesPerSample = 512;
constexpr double kUnits = 1.0 * kBatch * kBatchesPerSample;

// A pool of a tree record without a tree around it.
class Pool {
 public:
  Pool(std::int64_t alive, bool shuffled) : cells_(static_cast<std::size_t>(alive)) {
    tree_->child.document = &document_;
    for (ArbNodeRef*& cell : cells_) cell = takeCell(*tree_);
    if (shuffled) std::shuffle(cells_.begin(), cells_.end(), std::mt19937(4711));
  }
  ~Pool() {
    destroyCells(*tree_);
    destroySpareCells(document_);
  }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  // Before the first touch().
  void prepareTouches() {
    for (ArbNodeRef* const cell : cells_) places_.push_back(placeOf(cell));
  }

  // Batch by batch, cells are given back as nodes are freed, and as many taken for new nodes.
  void exchange() {
    for (int i = 0; i < kBatchesPerSample; ++i) {
      ArbNodeRef** const batch = nextBatch(cells_);
      for (std::size_t k = 0; k < kBatch; ++k) {
        *batch[k] = {ARB_REF_FREED, 0};
        giveBackCell(*tree_, batch[k]);
      }
      for (std::size_t k = 0; k < kBatch; ++k) {
        batch[k] = takeCell(*tree_);
        *batch[k] = {ARB_REF_NODE, 1};
      }
    }
  }

  // The same memory without the pool; the books are in the end as they were.
  void touch() {
    for (int i = 0; i < kBatchesPerSample; ++i) {
      const Place* const batch = nextBatch(places_);
      for (std::size_t k = 0; k < kBatch; ++k) touch(batch[k], ARB_REF_FREED, 1);
      for (std::size_t k = 0; k < kBatch; ++k) touch(batch[k], ARB_REF_NODE, ~0u);
    }
  }

  // Every cell is alive once, and no other.
  bool isRight() const {
    std::uint64_t used = 0;
    for (std::uint32_t i = 0; i < tree_->cellBlockCount; ++i) used += tree_->cellBlocks[i]->usedCount;
    std::vector<ArbNodeRef*> sorted = cells_;
    std::sort(sorted.begin(), sorted.end());
    return used == cells_.size() && sorted.front() != nullptr &&
           std::adjacent_find(sorted.begin(), sorted.end()) == sorted.end();
  }

 private:
  struct Place {
    ArbNodeRef* cell;
    CellBlock* block;
    std::uint32_t* occupancy;
  };

  Place placeOf(ArbNodeRef* cell) const {
    CellBlock* const block = blockOf(*tree_, cell);
    return {cell, block, &block->occupancy[(cell - block->cells) / 32]};
  }

  static void touch(const Place& place, std::uint32_t state, std::uint32_t count) {
    *place.cell = {state, 0};
    *place.occupancy ^= 1;
    place.block->usedCount += count;
  }

  template <typename Entry>
  Entry* nextBatch(std::vector<Entry>& entries) {
    if (next_ + kBatch > entries.size()) next_ = 0;
    Entry* const batch = entries.data() + next_;
    next_ += kBatch;
    return batch;
  }

  ArbDocument document_{};  // keeps the spare blocks
  const std::unique_ptr<ArbTree> tree_ = std::make_unique<ArbTree>();
  std::vector<ArbNodeRef*> cells_;
  std::vector<Place> places_;
  std::size_t next_ = 0;
};

void BM_CellPool(benchmark::State& state) {
  const bool shuffled = state.range(0) != 0;
  Pool few(state.range(1), shuffled);
  const Memory memory;
  Pool many(state.range(2), shuffled);
  memory.report(state);
  few.prepareTouches();
  many.prepareTouches();

  Comparison touches;
  Comparison pool;
  for (auto _ : state) {
    touches.sample(
        state, kUnits, [&] { few.touch(); }, [&] { many.touch(); });
    pool.sample(
        state, kUnits, [&] { few.exchange(); }, [&] { many.exchange(); });
  }
  if (!verify(state, few.isRight() && many.isRight(), "the cells alive are not those taken")) return;
  pool.report(state);
  state.counters["touch_ratio"] = touches.ratio();
  state.counters["beyond_memory"] = pool.ratio() / touches.ratio();
}

BENCHMARK(BM_CellPool)
    ->ArgNames({"shuffled", "few", "many"})
    ->ArgsProduct({{0, 1}, {10'000}, {10'000'000}})
    ->ArgsProduct({{0, 1}, {1'000}, {1'000'000}})
    ->UseManualTime()
    ->Iterations(50);

}  // namespace
}  // namespace arbtree::bench

BENCHMARK_MAIN();
