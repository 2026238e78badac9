// `arbtree find`: the places of elements with a name and, on request, an attribute.
#include "commands.h"
#include "element_kinds.h"
#include "element_places.h"
#include "node_links.h"
#include "session.h"
#include "utf.h"

namespace arbtree::tool {
namespace {

struct Finding {
  Session& session;
  const FindOptions& options;
  const ElementKind& kind;
  std::string attribute;
  std::u16string value;
  std::string path;
  std::uint64_t found = 0;

  bool enter(const ArbNode& node) {
    if (node.nodeType->elementId != kind.elementId || !matches(asElement(node))) return true;
    const ElementPlace place = {path, offsetOf(node)};
    session.out.append((options.json ? place.asJson() : place.asText()) + "\n");
    return ++found < options.limit && session.out.isGood();
  }
  void leave(const ArbNode&) {}

  bool enter(ArbForestChild& child) {
    if (child.kind != ARB_CHILD_TREE) return true;
    path = shown(pathOf(child));
    return session.document.walkNodes(asTree(&child), *this);
  }
  void leave(ArbForest&) {}

  // Only the element that was referred to by the ID has it as its ID string.
  bool matches(const ElementNode& element) const {
    if (!options.id.empty() && !element.node.idString) return false;
    if (attribute.empty()) return true;
    for (const AttributeEntry& entry : element.attributes()) {
      if (kind.attributes[entry.index]->text == attribute) return element.value(entry) == value;
    }
    return false;
  }
};

}  // namespace

int runFind(const FindOptions& options) {
  const ElementKind& kind = ElementKinds::instance().element(options.element);
  Wishes wishes;
  wishes.nodes.watched = &kind;
  wishes.nodes.id = options.id;
  Session session(options.common, std::move(wishes), true);
  const std::size_t equals = options.attribute.find('=');
  const std::string value =
      options.attribute.substr(equals == std::string::npos ? options.attribute.size() : equals + 1);
  Finding finding{session, options, kind, options.attribute.substr(0, equals), toUtf16(value), {}};
  session.document.walkMembers(finding);
  return session.finish();
}

}  // namespace arbtree::tool
