// Catches what baseutil's own bail-out raises, on every target.
#ifndef ARBTREE_TESTS_SUPPORT_BAIL_OUT_H
#define ARBTREE_TESTS_SUPPORT_BAIL_OUT_H

#include <cstdint>
#include <functional>
#include <optional>

namespace arbtree::test {

// The code with which the work was abandoned, or nothing when it came to its end. On Windows nothing that the work's
// own frames hold is given back when it was abandoned.
std::optional<std::uint32_t> bailOutOf(const std::function<void()>& work);

}  // namespace arbtree::test

#endif
