// Taking a cell from a tree's pool and giving it back, with 10 thousand and with 10 million cells alive. The two pools
// are measured in turns; the ratio says how much dearer the same work is in the large one.
//
// Memory latency grows with the footprint and is not the pool's. So each pattern is measured three times: with the
// pool, with the pool and a write to each cell as a node's life has it, and with the writes alone; what the pool adds
// is the difference between the last two.
#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "support/comparison.h"
#include "support/memory.h"
#include "tree/cell_pool.h"

namespace arbtree::bench {
namespace {

constexpr std::int64_t kFew = 10'000;
constexpr std::int64_t kMany = 10'000'000;
constexpr std::size_t kBatch = 1024;
constexpr int kBatchesPerSample = 256;
constexpr int kSamples = 101;

// A pool of a tree record without a tree around it, with its cells in the order in which they will be given back.
class Pool {
 public:
  Pool(std::int64_t alive, bool shuffled) : cells_(static_cast<std::size_t>(alive)) {
    for (ArbNodeRef*& cell : cells_) cell = takeCell(*tree_);
    if (shuffled) std::shuffle(cells_.begin(), cells_.end(), std::mt19937(4711));
  }
  ~Pool() { destroyCells(*tree_); }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  // The next kBatch cells are given back, then as many taken in their place.
  template <bool usePool, bool touch>
  void exchangeBatches() {
    for (int i = 0; i < kBatchesPerSample; ++i) {
      const std::size_t start = next_ + kBatch <= cells_.size() ? next_ : 0;
      const auto first = cells_.begin() + static_cast<std::ptrdiff_t>(start);
      const auto last = first + kBatch;
      next_ = start + kBatch;
      for (auto cell = first; cell != last; ++cell) {
        if constexpr (touch) **cell = {ARB_REF_FREED, 0};
        if constexpr (usePool) giveBackCell(*tree_, *cell);
      }
      for (auto cell = first; cell != last; ++cell) {
        if constexpr (usePool) *cell = takeCell(*tree_);
        if constexpr (touch) **cell = {ARB_REF_NODE, 1};
      }
      benchmark::ClobberMemory();
    }
  }

  // Every cell is alive exactly once, and no other.
  bool isRight() const {
    std::uint64_t used = 0;
    for (std::uint32_t i = 0; i < tree_->cellBlockCount; ++i) used += tree_->cellBlocks[i]->usedCount;
    std::vector<ArbNodeRef*> sorted = cells_;
    std::sort(sorted.begin(), sorted.end());
    return used == cells_.size() && std::adjacent_find(sorted.begin(), sorted.end()) == sorted.end() &&
           sorted.front() != nullptr;
  }

 private:
  const std::unique_ptr<ArbTree> tree_ = std::make_unique<ArbTree>();
  std::vector<ArbNodeRef*> cells_;
  std::size_t next_ = 0;
};

void BM_CellPool(benchmark::State& state) {
  const bool shuffled = state.range(0) != 0;
  Pool few(kFew, shuffled);
  const Memory memory;
  Pool many(kMany, shuffled);
  memory.report(state);

  Comparison pool;
  Comparison both;
  Comparison touches;
  constexpr double kUnits = 1.0 * kBatch * kBatchesPerSample;
  for (auto _ : state) {
    touches.sample(
        state, kUnits, [&] { few.exchangeBatches<false, true>(); }, [&] { many.exchangeBatches<false, true>(); });
    both.sample(
        state, kUnits, [&] { few.exchangeBatches<true, true>(); }, [&] { many.exchangeBatches<true, true>(); });
    pool.sample(
        state, kUnits, [&] { few.exchangeBatches<true, false>(); }, [&] { many.exchangeBatches<true, false>(); });
  }
  if (!verify(state, few.isRight() && many.isRight(), "the cells alive are not those taken")) return;
  pool.report(state);
  state.counters["few_touch"] = touches.baseline();
  state.counters["many_touch"] = touches.subject();
  state.counters["few_both"] = both.baseline();
  state.counters["many_both"] = both.subject();
  state.counters["added_ratio"] = (both.subject() - touches.subject()) / (both.baseline() - touches.baseline());
}

BENCHMARK(BM_CellPool)->ArgName("shuffled")->Arg(0)->Arg(1)->UseManualTime()->Iterations(kSamples);

}  // namespace
}  // namespace arbtree::bench

BENCHMARK_MAIN();
