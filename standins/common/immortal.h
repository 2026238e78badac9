// A library's one registry, made on first use and never destroyed, so that calls made while the process ends (by other
// threads, or by the destructors of a host's own statics) still find it.
#ifndef ARBTREE_STANDINS_COMMON_IMMORTAL_H
#define ARBTREE_STANDINS_COMMON_IMMORTAL_H

#include <cstddef>
#include <new>

namespace arbtree::standins {

template <typename Registry>
Registry& immortal() {
  alignas(Registry) static std::byte storage[sizeof(Registry)];
  static Registry* const instance = new (storage) Registry;
  return *instance;
}

}  // namespace arbtree::standins

#endif
