// What went wrong with an input, and where: the parts of the one line that a user gets to see.
#ifndef ARBTREE_TOOL_FAILURE_H
#define ARBTREE_TOOL_FAILURE_H

#include <cstdint>
#include <string>

namespace arbtree::tool {

// Lines and columns count from 1.
struct Place {
  std::uint64_t line = 1;
  std::uint64_t column = 1;
};

struct Failure {
  Place place;
  std::string reason;
  bool isLimit = false;  // a limit that the command line sets was passed
};

}  // namespace arbtree::tool

#endif
