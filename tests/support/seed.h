// The seed of the random tests: ARBTREE_SEED from the environment, else one of the moment. It is printed, so that a
// failure can be run again.
#ifndef ARBTREE_TESTS_SUPPORT_SEED_H
#define ARBTREE_TESTS_SUPPORT_SEED_H

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iostream>

namespace arbtree::test {

inline std::uint32_t testSeed() {
  static const std::uint32_t seed = [] {
    const char* const given = std::getenv("ARBTREE_SEED");
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    return given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 0)) : static_cast<std::uint32_t>(now);
  }();
  std::cout << "ARBTREE_SEED=" << seed << "\n";
  testing::Test::RecordProperty("seed", std::to_string(seed));
  return seed;
}

}  // namespace arbtree::test

#endif
