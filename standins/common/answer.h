// The boundary of every call that may allocate: a failed allocation leaves it as ARB_ERR_NOMEMORY.
//
// REQUIRES: the work changes nothing before its last allocation has succeeded.
#ifndef ARBTREE_STANDINS_COMMON_ANSWER_H
#define ARBTREE_STANDINS_COMMON_ANSWER_H

#include <cstdint>
#include <new>
#include <stdexcept>

#include "arbtree/arbtree.h"

namespace arbtree::standins {

template <typename Work>
std::uint32_t answer(Work&& work, std::uint32_t noMemory = ARB_ERR_NOMEMORY) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return noMemory;
  } catch (const std::length_error&) {
    return noMemory;
  }
}

}  // namespace arbtree::standins

#endif
