// `arbtree text`: the character data of XML documents.
#include "commands.h"
#include "member_name.h"
#include "node_links.h"
#include "session.h"
#include "xml_writer.h"

namespace arbtree::tool {
namespace {

// The text of each member ends with a line end of its own or gets one.
struct Writing {
  Session& session;
  bool found = false;
  char16_t last = u'\n';

  bool enter(const ArbNode& node) {
    if (isText(node)) {
      const auto& text = reinterpret_cast<const ArbTextNode&>(node);
      writePlainText(session.out, {text.text, text.textLength});
      if (text.textLength != 0) last = text.text[text.textLength - 1];
    }
    return session.out.isGood();
  }
  void leave(const ArbNode&) {}

  bool enter(ArbForestChild& child) {
    if (child.kind != ARB_CHILD_TREE) return true;
    const bool chosen = session.wishes.wantsNodes != nullptr;
    if (chosen && !session.wishes.wantsNodes(pathOf(child))) return true;
    found = true;
    const bool goOn = session.document.walkNodes(asTree(&child), *this);
    if (last != u'\n') session.out.append('\n');
    last = u'\n';
    return goOn && !chosen;
  }
  void leave(ArbForest&) {}
};

}  // namespace

int runText(const ContentOptions& options) {
  Session session(options.common, wishesForMember(options.member), true);
  Writing writing{session};
  session.document.walkMembers(writing);
  if (!writing.found) reportMissing(session, options.member);
  return session.finish();
}

}  // namespace arbtree::tool
