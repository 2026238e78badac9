// The messages name the option that sets the limit.
#include "content_limits.h"

#include <algorithm>

namespace arbtree::tool {

bool Budget::spendMember() {
  if (isWithin() && ++members_ > limits_.maxMembers) {
    problem_ = "more than " + std::to_string(limits_.maxMembers) + " members (see --max-members)";
  }
  return isWithin();
}

bool Budget::checkBytes() {
  if (bytes_ > limits_.maxBytes) {
    problem_ = "more than " + std::to_string(limits_.maxBytes) + " bytes unpacked (see --max-bytes)";
  } else if (bytes_ > limits_.ratioThreshold &&
             bytes_ / limits_.maxRatio > std::max<std::uint64_t>(input_.bytesRead(), 1)) {
    problem_ = "more than " + std::to_string(limits_.maxRatio) + " bytes unpacked for each byte read (see --max-ratio)";
  }
  return isWithin();
}

}  // namespace arbtree::tool
