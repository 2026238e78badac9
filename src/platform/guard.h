// The guard around the producer: nothing that the producer raises leaves a run except as a status.
//
// It catches C++ exceptions; structured exceptions of Windows are not caught yet. A caught exception gives a 32-bit
// code (RtCodedException its own, any other a fixed one) that rtcore turns into a status. The forced unwinding of
// thread cancellation is not the producer's doing and passes through.
#ifndef ARBTREE_PLATFORM_GUARD_H
#define ARBTREE_PLATFORM_GUARD_H

#include <cstdint>

#include "arbtree/arbtree.h"

namespace arbtree {

// One call of a producer entry with its three arguments.
struct ProducerCall {
  ArbProducerEntry entry;
  std::uint32_t argument1;
  std::uint32_t argument2;
  std::uint32_t argument3;
};

// The entry's result, or the status of the exception that it raised.
std::uint32_t runGuarded(const ProducerCall& call);

}  // namespace arbtree

#endif
