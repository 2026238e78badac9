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

void reportMissing(Session& session, const std::string& member) {
  if (member.empty() || session.problems.status() != 0) return;
  session.problems.member("", "no XML member has the path " + shown(member));
}

}  // namespace arbtree::tool
