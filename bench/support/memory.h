// The memory beside the time.
#ifndef ARBTREE_BENCH_SUPPORT_MEMORY_H
#define ARBTREE_BENCH_SUPPORT_MEMORY_H

#include <benchmark/benchmark.h>

namespace arbtree::bench {

// The resident memory of this process since construction. That first gives all memory freed so far back to the system;
// from then on the heap keeps what is freed, so that no measurement pays for the system's giving and taking pages.
class Memory {
 public:
  Memory();

  // The highest so far, less what there was at construction, in bytes; 0 where the system does not tell.
  double peak() const;

  // As the counter peak_MB.
  void report(benchmark::State& state) const { state.counters["peak_MB"] = peak() / 1e6; }

 private:
  double before_;
};

}  // namespace arbtree::bench

#endif
