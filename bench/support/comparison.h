// A subject and its baseline measured in turns. The machine's speed changes from one second to the next, so a time
// means little without one taken beside it: a comparison takes sample by sample one of each, in processor time of this
// thread, and reports the median of the samples' ratios.
#ifndef ARBTREE_BENCH_SUPPORT_COMPARISON_H
#define ARBTREE_BENCH_SUPPORT_COMPARISON_H

#include <benchmark/benchmark.h>

#include <vector>

namespace arbtree::bench {

double processorNanoseconds();

class Comparison {
 public:
  // One sample of each; each does the work of `units` units.
  template <typename Baseline, typename Subject>
  void sample(benchmark::State& state, double units, Baseline baseline, Subject subject) {
    const double start = processorNanoseconds();
    baseline();
    const double middle = processorNanoseconds();
    subject();
    const double end = processorNanoseconds();
    baseline_.push_back((middle - start) / units);
    subject_.push_back((end - middle) / units);
    ratio_.push_back((end - middle) / (middle - start));
    state.SetIterationTime((end - middle) / 1e9);
  }

  // Medians: nanoseconds a unit, and subject over baseline.
  double baseline() const { return median(baseline_); }
  double subject() const { return median(subject_); }
  double ratio() const { return median(ratio_); }

  // As the counters ns, base_ns and ratio.
  void report(benchmark::State& state) const;

 private:
  static double median(std::vector<double> values);

  std::vector<double> baseline_;
  std::vector<double> subject_;
  std::vector<double> ratio_;
};

// Ends the benchmark with an error when a result is wrong: its time does not count then.
inline bool verify(benchmark::State& state, bool right, const char* message) {
  if (!right) state.SkipWithError(message);
  return right;
}

}  // namespace arbtree::bench

#endif
