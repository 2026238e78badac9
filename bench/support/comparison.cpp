#include "support/comparison.h"

#include <algorithm>
#include <cstddef>
#include <ctime>

namespace arbtree::bench {

double processorNanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

void Comparison::report(benchmark::State& state) const {
  state.counters["ns"] = subject();
  state.counters["base_ns"] = baseline();
  state.counters["ratio"] = ratio();
}

double Comparison::median(std::vector<double> values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace arbtree::bench
