// The guard around the producer: nothing that the producer raises leaves a run except as a status.
//
// A caught exception gives a 32-bit code that rtcore turns into a status. C++ exceptions are caught everywhere
// (RtCodedException has its own code, any other a fixed one). On Windows structured exceptions are caught as well,
// under their own codes, also those of other modules and compilers; and a C++ exception of a module with a runtime of
// its own, whose code cannot be told there, is caught where it would end the process, by the fixed code and as abort()
// is. The forced unwinding of thread cancellation is not the producer's doing and passes through.
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

// What a call came to: `value` is the entry's result, or the code of the exception that was raised.
struct GuardedOutcome {
  bool raised;
  std::uint32_t value;
};

// The two layers: the inner one catches C++ exceptions; the outer one, on Windows only, runs the inner one and catches
// structured exceptions.
GuardedOutcome runCatching(const ProducerCall& call);
GuardedOutcome runInExceptionFrame(const ProducerCall& call);

}  // namespace arbtree

#endif
