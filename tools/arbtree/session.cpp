// Choosing members.
#include "session.h"

#include "member_name.h"

namespace arbtree::tool {

Wishes wishesForMember(const std::string& member) {
  Wishes wishes;
  if (member.empty()) return wishes;
  wishes.wantsNodes = [member](const std::string& path) { return shown(path) == member; };
  wishes.wantsMembers = [member](const std::string& path) { return member.starts_with(shown(path) + "/"); };
  return wishes;
}

}  // namespace arbtree::tool
