// Many rounds of some work on four threads at once: what the registries of the stand-ins have to stand.
#ifndef ARBTREE_TESTS_SUPPORT_THREADS_H
#define ARBTREE_TESTS_SUPPORT_THREADS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <vector>

namespace arbtree::test {

// `work(thread, round)` answers whether all went well.
template <typename Work>
void onFourThreads(std::uint32_t rounds, Work work) {
  std::vector<std::thread> threads;
  std::vector<int> failures(4);
  for (std::uint32_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (std::uint32_t round = 0; round < rounds; ++round) failures[t] += !work(t, round);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<int>(4));
}

}  // namespace arbtree::test

#endif
