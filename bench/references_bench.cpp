// Floating references, made ahead of their nodes and then resolved in random order: 1 thousand and 1 million of them
// pending at once. The base is 1 thousand, so a ratio above 1 says that a reference among a million costs more.
//
// Measured twice: in a new tree, whose tables grow meanwhile, and in one whose tables have grown.
//
// Memory latency grows with the footprint and is not the table's. So the floor of resolving is measured beside it: as
// many nodes made without a reference, and for each a cell read and written and an entry of a table of pointers
// cleared, in random order in plain arrays as long as there are references. What the library adds is the difference.
#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "arbtree/arbtree.h"
#include "support/comparison.h"
#include "support/memory.h"

namespace arbtree::bench {
namespace {

constexpr std::int64_t kFew = 1'000;
constexpr std::int64_t kMany = 1'000'000;
constexpr int kSamples = 7;

// Nanoseconds a reference.
struct Cost {
  double making = 0;
  double resolving = 0;
  double floor = 0;  // of resolving
  double both() const { return making + resolving; }
};

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

double median(const std::vector<Cost>& costs, double (*part)(const Cost&)) {
  std::vector<double> values(costs.size());
  std::transform(costs.begin(), costs.end(), values.begin(), part);
  return median(std::move(values));
}

// A document with the tree in which the references are made. A round makes them all and resolves them all; their nodes
// are gone then, and the tree is as before, but for the room in its tables.
class References {
 public:
  References(std::int64_t pending, bool newTree)
      : newTree_(newTree), made_(static_cast<std::size_t>(pending)), plain_(made_.size()) {
    if (ArbDocumentCreate(0, nullptr, nullptr, 0, 0, &document_) != ARB_OK) std::abort();
    if (newTree_) return;
    makeTree();
    round();
  }
  ~References() { ArbDocumentDestroy(document_); }
  References(const References&) = delete;
  References& operator=(const References&) = delete;

  // The cost of `count` references, in as many rounds as it takes.
  Cost pass(std::int64_t count) {
    const auto rounds = count / static_cast<std::int64_t>(made_.size());
    Cost sum;
    for (std::int64_t i = 0; i < rounds; ++i) {
      if (newTree_) makeTree();
      const Cost cost = round();
      sum.making += cost.making / static_cast<double>(count);
      sum.resolving += cost.resolving / static_cast<double>(count);
      sum.floor += cost.floor / static_cast<double>(count);
      if (newTree_) ArbTreeDestroy(tree_);
    }
    return sum;
  }

  bool isRight() const { return right_; }

 private:
  struct Made {
    ArbNodeRef* reference;
    ArbNode* node;
    std::uint32_t number;
  };

  // The floor's arrays, and in `next` the order in which their entries are written.
  struct Plain {
    explicit Plain(std::size_t count) : cells(count), table(count), next(count) {
      std::iota(next.begin(), next.end(), std::size_t{0});
    }
    std::vector<ArbNodeRef> cells;
    std::vector<ArbNodeRef*> table;
    std::vector<std::size_t> next;
  };

  void makeTree() {
    if (ArbDocumentCreateTree(document_, nullptr, &tree_) != ARB_OK) std::abort();
    if (newTree_) return;
    ArbForestAppendChild(ArbDocumentRootForest(document_), reinterpret_cast<ArbForestChild*>(tree_));
  }

  Cost round() {
    const double start = processorNanoseconds();
    for (Made& made : made_) ArbTreeCreateFloatingNodeReference(tree_, &made.reference);
    const double end = processorNanoseconds();
    for (Made& made : made_) made.number = static_cast<std::uint32_t>(made.reference->value);
    std::shuffle(made_.begin(), made_.end(), random_);
    const double resolving =
        inBatches([&](Made& made) { ArbTreeCreateNode(tree_, ARB_ELEM_TEXT, made.reference, &made.node); },
                  [&](const Made& made) { check(made); });
    return {end - start, resolving, floor()};
  }

  double floor() {
    std::shuffle(plain_.next.begin(), plain_.next.end(), random_);
    const std::size_t* at = plain_.next.data();
    const auto make = [&](Made& made) {
      ArbTreeCreateNode(tree_, ARB_ELEM_TEXT, nullptr, &made.node);
      made.node->number = static_cast<std::uint32_t>(plain_.cells[*at].value);
      plain_.cells[*at] = {ARB_REF_NODE, reinterpret_cast<std::uintptr_t>(made.node)};
      plain_.table[*at] = nullptr;
      benchmark::ClobberMemory();
      ++at;
    };
    return inBatches(make, [](const Made&) {});
  }

  // Nanoseconds of making all nodes. Outside the time each batch is checked and freed before the next: with few and
  // with many references the same number of nodes is alive, whose memory is none of theirs.
  template <typename Make, typename Check>
  double inBatches(Make make, Check check) {
    double sum = 0;
    for (auto batch = made_.begin(); batch != made_.end(); batch += kFew) {
      const double start = processorNanoseconds();
      std::for_each(batch, batch + kFew, make);
      sum += processorNanoseconds() - start;
      std::for_each(batch, batch + kFew, check);
      std::for_each(batch, batch + kFew, [](const Made& made) { ArbNodeDestroy(made.node); });
    }
    return sum;
  }

  // The reference leads to the node made on it, which has the number that was reserved.
  void check(const Made& made) {
    ArbNode* node = nullptr;
    right_ = right_ && ArbNodeRefQueryNode(made.reference, &node) == ARB_OK && node == made.node &&
             node->number == made.number;
  }

  bool newTree_;
  bool right_ = true;
  std::vector<Made> made_;
  Plain plain_;
  std::mt19937 random_{4711};
  ArbDocument* document_ = nullptr;
  ArbTree* tree_ = nullptr;
};

void BM_References(benchmark::State& state) {
  const bool newTree = state.range(0) != 0;
  References few(kFew, newTree);
  const Memory memory;
  References many(kMany, newTree);

  std::vector<Cost> small;
  std::vector<Cost> large;
  for (auto _ : state) {
    small.push_back(few.pass(kMany));
    large.push_back(many.pass(kMany));
    state.SetIterationTime(large.back().both() * 1e-9 * static_cast<double>(kMany));
  }
  if (!verify(state, few.isRight() && many.isRight(), "a reference leads to another node")) return;
  memory.report(state);
  const auto report = [&](const char* name, double (*part)(const Cost&)) {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < small.size(); ++i) ratios.push_back(part(large[i]) / part(small[i]));
    state.counters[std::string(name) + "_few"] = median(small, part);
    state.counters[std::string(name) + "_many"] = median(large, part);
    state.counters[std::string(name) + "_ratio"] = median(ratios);
  };
  report("make", [](const Cost& cost) { return cost.making; });
  report("resolve", [](const Cost& cost) { return cost.resolving; });
  report("floor", [](const Cost& cost) { return cost.floor; });
  report("both", [](const Cost& cost) { return cost.both(); });
}

BENCHMARK(BM_References)
    ->ArgName("new_tree")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(kSamples);

}  // namespace
}  // namespace arbtree::bench

BENCHMARK_MAIN();
