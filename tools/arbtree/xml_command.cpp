// `arbtree xml`: writes an XML document out again.
#include "commands.h"
#include "member_name.h"
#include "node_links.h"
#include "session.h"
#include "xml_writer.h"

namespace arbtree::tool {
namespace {

// Ends the walk as soon as the output fails, or when the member is written.
struct Copying {
  Session& session;
  const std::string& member;
  XmlWriter writer;
  bool found = false;

  bool enter(const ArbNode& node) {
    writer.enter(node);
    return session.out.isGood();
  }
  void leave(const ArbNode& node) { writer.leave(node); }

  bool enter(ArbForestChild& child) {
    if (session.document.producer().inputIsArchive() && member.empty()) return false;
    if (child.kind != ARB_CHILD_TREE || !isWanted(child)) return true;
    found = true;
    return session.document.walkNodes(asTree(&child), *this) && member.empty();
  }
  void leave(ArbForest&) {}

  bool isWanted(ArbForestChild& child) const {
    return !session.wishes.wantsNodes || session.wishes.wantsNodes(pathOf(child));
  }
};

}  // namespace

int runXml(const ContentOptions& options) {
  Session session(options.common, wishesForMember(options.member), true);
  Copying copying{session, options.member, XmlWriter(session.out)};
  session.document.walkMembers(copying);
  if (!copying.found) reportMissing(session, options.member);
  if (session.document.producer().inputIsArchive() && options.member.empty()) {
    session.problems.member("", "is an archive: --member says which XML member to write", kUsageError);
  }
  return session.finish();
}

}  // namespace arbtree::tool
