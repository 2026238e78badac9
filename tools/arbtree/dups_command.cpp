// `arbtree dups`: elements of one name whose subtrees are equal.
//
// The walk comes to an element of the name, waits until its subtree is complete, and looks its hash up among the
// different subtrees met so far. The first of each kind is cloned into a tree of its own document, where later ones are
// compared with it, so memory grows with what is different. An element within an element of the name is part of it.
#include <memory>
#include <stdexcept>
#include <unordered_map>
#include <vector>

#include "commands.h"
#include "element_kinds.h"
#include "element_places.h"
#include "node_links.h"
#include "session.h"
#include "subtree_hash.h"

namespace arbtree::tool {
namespace {

constexpr std::uint32_t kProducerOnly = 1;

// The first of each set of equal subtrees.
class KeptSubtrees {
 public:
  KeptSubtrees() {
    if (ArbDocumentCreate(0, &host_, u"", 0, kProducerOnly, &document_) != ARB_OK ||
        ArbDocumentCreateTree(document_, u"", &tree_) != ARB_OK ||
        ArbForestAppendChild(ArbDocumentRootForest(document_), asChild(tree_)) != ARB_OK) {
      throw std::bad_alloc();
    }
  }
  ~KeptSubtrees() {
    for (ArbNode* const copy : copies_) {
      if (copy) ArbNodeDestroy(copy);
    }
    ArbDocumentDestroy(document_);
  }
  KeptSubtrees(const KeptSubtrees&) = delete;
  KeptSubtrees& operator=(const KeptSubtrees&) = delete;

  // The number of the set that the subtree belongs to, a new one when there is none equal.
  std::size_t setOf(ArbNode* node) {
    const std::uint64_t hash = subtreeHash(node);
    const auto [first, last] = sets_.equal_range(hash);
    for (auto at = first; at != last; ++at) {
      if (ArbNodeIsEqual(node, copies_[at->second])) return at->second;
    }
    copies_.push_back(nullptr);  // what has no memory fails before there is a copy
    copies_.back() = clone(node);
    sets_.emplace(hash, copies_.size() - 1);
    return copies_.size() - 1;
  }

 private:
  ArbNode* clone(ArbNode* node) {
    const ElementKinds& kinds = ElementKinds::instance();
    for (; namespaces_ < kinds.namespaceCount(); ++namespaces_) {
      if (ArbTreeAddNodeFactory(tree_, ElementKinds::kFirstNamespace + namespaces_) != ARB_OK) throw std::bad_alloc();
    }
    ArbNode* copy = nullptr;
    if (ArbNodeCloneSubtree(node, tree_, &copy) == ARB_OK) return copy;
    if (copy) ArbNodeDestroy(copy);
    throw std::bad_alloc();
  }

  ArbHostContext host_ = {};
  ArbDocument* document_ = nullptr;
  ArbTree* tree_ = nullptr;
  std::uint32_t namespaces_ = 0;
  std::vector<ArbNode*> copies_;                              // by number of the set
  std::unordered_multimap<std::uint64_t, std::size_t> sets_;  // by hash
};

struct Comparing {
  Session& session;
  const ElementKind& kind;
  KeptSubtrees kept;
  std::vector<std::vector<ElementPlace>> places;  // by number of the set
  std::string path;
  std::uint64_t depth = 0;  // within an element of the name, which counts

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
    const std::size_t set = kept.setOf(node);
    if (set == places.size()) places.emplace_back();
    places[set].push_back({path, offsetOf(*node)});
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
  Comparing comparing{session, kind, {}, {}, {}};
  session.document.walkMembers(comparing);
  print(session.out, comparing.places, options.json);
  return session.finish();
}

}  // namespace arbtree::tool
