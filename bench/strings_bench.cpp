// Interning texts: 1 thousand and 1 million of them, "chapter0000001" and so on, in ascending and in random order,
// entered in a new document and then found in it. The base is the random order, so a ratio above 1 says that ascending
// texts cost more.
//
// The search tree over a document's strings is not balanced: ascending texts hang in one long chain, which a search
// that walked it would have to follow. Each order reads its texts one behind the other, so that the caller's own
// memory costs both the same.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include "arbtree/arbtree.h"
#include "support/comparison.h"
#include "support/memory.h"

namespace arbtree::bench {
namespace {

constexpr std::int64_t kFew = 1'000;
constexpr std::int64_t kMany = 1'000'000;
constexpr std::int64_t kStringsPerSample = 1'000'000;

using Text = std::array<char16_t, 16>;

Text chapter(std::int64_t number) {
  char bytes[16];
  std::snprintf(bytes, sizeof bytes, "chapter%07lld", static_cast<long long>(number % 10'000'000));
  Text text;
  std::copy(std::begin(bytes), std::end(bytes), text.begin());
  return text;
}

std::vector<Text> chapters(std::int64_t count, bool shuffled) {
  std::vector<std::int64_t> numbers(static_cast<std::size_t>(count));
  std::iota(numbers.begin(), numbers.end(), 1);
  if (shuffled) std::shuffle(numbers.begin(), numbers.end(), std::mt19937(4711));
  std::vector<Text> texts(numbers.size());
  std::transform(numbers.begin(), numbers.end(), texts.begin(), chapter);
  return texts;
}

// A document, and the strings that it gave for the texts.
class Interned {
 public:
  explicit Interned(const std::vector<Text>& texts) : texts_(texts), entered_(texts.size()), found_(texts.size()) {
    if (ArbDocumentCreate(0, nullptr, nullptr, 0, 0, &document_) != ARB_OK) std::abort();
  }
  ~Interned() { ArbDocumentDestroy(document_); }
  Interned(const Interned&) = delete;
  Interned& operator=(const Interned&) = delete;

  void enter() { request(entered_); }
  void find() { request(found_); }

  // Each text has a string of its own, and is found there.
  bool isRight() const {
    std::vector<ArbString*> distinct = entered_;
    std::sort(distinct.begin(), distinct.end());
    return entered_ == found_ && distinct.front() != nullptr &&
           std::adjacent_find(distinct.begin(), distinct.end()) == distinct.end();
  }

 private:
  void request(std::vector<ArbString*>& strings) {
    for (std::size_t i = 0; i < texts_.size(); ++i) {
      ArbDocumentCreateString(document_, texts_[i].data(), &strings[i]);
    }
  }

  const std::vector<Text>& texts_;
  std::vector<ArbString*> entered_;
  std::vector<ArbString*> found_;
  ArbDocument* document_ = nullptr;
};

// The documents of one sample: as many as it takes for kStringsPerSample texts.
class Sample {
 public:
  explicit Sample(const std::vector<Text>& texts) {
    const auto count = static_cast<std::size_t>(kStringsPerSample) / texts.size();
    while (documents_.size() < count) documents_.push_back(std::make_unique<Interned>(texts));
  }
  void enter() {
    for (const auto& document : documents_) document->enter();
  }
  void find() {
    for (const auto& document : documents_) document->find();
  }
  bool isRight() const {
    return std::all_of(documents_.begin(), documents_.end(), [](const auto& document) { return document->isRight(); });
  }

 private:
  std::vector<std::unique_ptr<Interned>> documents_;
};

void BM_Strings(benchmark::State& state) {
  const std::vector<Text> ascending = chapters(state.range(0), false);
  const std::vector<Text> random = chapters(state.range(0), true);
  const Memory memory;
  Comparison entering;
  Comparison finding;
  bool right = true;
  for (auto _ : state) {
    Sample baseline(random);
    Sample subject(ascending);
    entering.sample(
        state, kStringsPerSample, [&] { baseline.enter(); }, [&] { subject.enter(); });
    finding.sample(
        state, kStringsPerSample, [&] { baseline.find(); }, [&] { subject.find(); });
    right = right && baseline.isRight() && subject.isRight();
  }
  if (!verify(state, right, "a text has no string of its own")) return;
  memory.report(state);
  state.counters["enter_random"] = entering.baseline();
  state.counters["enter_ascending"] = entering.subject();
  state.counters["enter_ratio"] = entering.ratio();
  state.counters["find_random"] = finding.baseline();
  state.counters["find_ascending"] = finding.subject();
  state.counters["find_ratio"] = finding.ratio();
}

BENCHMARK(BM_Strings)
    ->ArgName("texts")
    ->Arg(kFew)
    ->Arg(kMany)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

}  // namespace
}  // namespace arbtree::bench

BENCHMARK_MAIN();
