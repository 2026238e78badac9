// `arbtree dups`: elements of one name whose subtrees are equal.
//
// The walk comes to an element of the name that is in no other one, waits until its subtree is complete, and has it and
// those within it put into sets.
#include <stdexcept>
#include <vector>

#include "commands.h"
#include "element_kinds.h"
#include "element_places.h"
#include "node_links.h"
#include "session.h"
#include "subtree_sets.h"

namespace arbtree::tool {
namespace {

struct Comparing {
  Session& session;
  const ElementKind& kind;
  SubtreeSets sets;
  std::vector<std::vector<ElementPlace>> places;  // by number of the set
  std::string path;
  std::uint64_t depth = 0;  // of open elements from one of the name on

  bool enter(const ArbNode& node) {
    if (depth != 0) {
      ++depth;
    } else if (node.nodeType->elementId == kind.elementId) {
      depth = 1;
      note(const_cast<ArbNode*>(&node));
    }
    return true;
  }
  void leave(const ArbNode&) { depth -= depth != 0; }

  bool enter(ArbForestChild& child) {
    if (child.kind != ARB_CHILD_TREE) return true;
    path = shown(pathOf(child));
    return session.document.walkNodes(asTree(&child), *this);
  }
  void leave(ArbForest&) {}

  // The end of an element comes after everything in it.
  void note(ArbNode* node) {
    if (ArbNodeWaitProducerDone(node) != ARB_OK) throw std::runtime_error("waiting for a subtree failed");
    sets.add(node, [this](std::size_t set, const ArbNode& element) {
      if (set == places.size()) places.emplace_back();
      places[set].push_back({path, offsetOf(element)});
    });
  }
};

std::string asJson(const std::vector<ElementPlace>& places) {
  std::string text = "[";
  for (const ElementPlace& place : places) text += (text.size() > 1 ? ", " : "") + place.asJson();
  return text + "]\n";
}

void print(OutputFile& out, const std::vector<std::vector<ElementPlace>>& sets, bool json) {
  std::uint64_t number = 0;
  for (const auto& places : sets) {
    if (places.size() < 2) continue;
    ++number;
    if (json) out.append(asJson(places));
    for (const ElementPlace& place : places) {
      if (!json) out.append(std::to_string(number) + " " + place.asText() + "\n");
    }
  }
}

}  // namespace

int runDups(const DupsOptions& options) {
  const ElementKind& kind = ElementKinds::instance().element(options.element);
  Wishes wishes;
  wishes.nodes.watched = &kind;
  Session session(options.common, std::move(wishes), false);
  Comparing comparing{session, kind, SubtreeSets(kind), {}, {}};
  session.document.walkMembers(comparing);
  print(session.out, comparing.places, options.json);
  return session.finish();
}

}  // namespace arbtree::tool
