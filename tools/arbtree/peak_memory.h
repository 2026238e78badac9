// The memory that this process has used.
#ifndef ARBTREE_TOOL_PEAK_MEMORY_H
#define ARBTREE_TOOL_PEAK_MEMORY_H

#include <cstdint>

namespace arbtree::tool {

// The highest resident memory so far, in bytes; 0 where the system does not tell.
std::uint64_t peakMemory();

}  // namespace arbtree::tool

#endif
