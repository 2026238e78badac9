// The loop that fails each allocation of a scenario in turn.
#ifndef ARBTREE_TESTS_SUPPORT_FAILING_HEAP_H
#define ARBTREE_TESTS_SUPPORT_FAILING_HEAP_H

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>

#include "platform/heap.h"
#include "support/attribute_kinds.h"

namespace arbtree::test {

// A scenario sets things up, calls arm(), does what may fail, and calls stopFailing(); what it checks afterwards must
// hold with any failure. Each allocation fails once, then with all after it. `least` is the number of allocations that
// must be reached, so that a scenario that no longer allocates is noticed.
inline void failEachAllocation(std::uint64_t least,
                               const std::function<void(const std::function<void()>& arm)>& scenario) {
  for (const bool forever : {false, true}) {
    for (std::uint64_t n = 1;; ++n) {
      SCOPED_TRACE(testing::Message() << "allocation " << n << (forever ? " and all after it fail" : " fails"));
      const std::uint64_t blocks = heap::testing::liveBlocks();
      const std::uint64_t elements = liveElements();
      scenario([&] { heap::testing::failAllocation(n, forever); });
      heap::testing::stopFailing();
      ASSERT_EQ(blocks, heap::testing::liveBlocks());
      ASSERT_EQ(elements, liveElements());
      ASSERT_FALSE(testing::Test::HasFailure());
      if (heap::testing::failureFired()) continue;
      ASSERT_LE(least, n - 1);
      break;
    }
  }
}

}  // namespace arbtree::test

#endif
