// `arbtree dups`: equal elements of a name, found by the library's hash and told apart by its comparison.
//
// Of each different element a copy is kept in a tree of its own, and of each the places where it was met; so memory
// grows with the different elements, not with the input.
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "child_info.h"
#include "commands.h"
#include "element_kinds.h"
#include "element_node.h"
#include "run_command.h"

namespace arbtree::tool {
namespace {

// A tree that nobody produces but its owner.
class Keep {
 public:
  Keep() {
    if (ArbDocumentCreate(0, nullptr, nullptr, 0, 0, &document_) != ARB_OK) throw std::bad_alloc();
    if (ArbDocumentCreateTree(document_, nullptr, &tree_) != ARB_OK ||
        ArbForestAppendChild(ArbDocumentRootForest(document_), asChild(tree_)) != ARB_OK) {
      ArbDocumentDestroy(document_);
      throw std::bad_alloc();
    }
  }
  ~Keep() {
    for (ArbNode* const node : nodes_) ArbNodeDestroy(node);
    ArbDocumentDestroy(document_);
  }
  Keep(const Keep&) = delete;
  Keep& operator=(const Keep&) = delete;

  ArbNode* add(ArbNode* node) {
    for (; namespaces_ < ElementKinds::instance().namespaceCount(); ++namespaces_) {
      ArbTreeAddNodeFactory(tree_, ElementKinds::kFirstNamespace + namespaces_);
    }
    ArbNode* copy = nullptr;
    const ArbStatus status = ArbNodeCloneSubtree(node, tree_, &copy);
    if (copy) nodes_.push_back(copy);
    if (status != ARB_OK) throw std::runtime_error("keeping a copy failed with status " + std::to_string(status));
    return copy;
  }

 private:
  ArbDocument* document_ = nullptr;
  ArbTree* tree_ = nullptr;
  std::uint32_t namespaces_ = 0;
  std::vector<ArbNode*> nodes_;
};

struct Group {
  ArbNode* copy;
  std::vector<std::string> places;
};

struct Comparing : ChildVisitor {
  explicit Comparing(const std::string& element) : name(element) {}

  bool enterChild(ArbForestChild& child) {
    if (child.kind == ARB_CHILD_TREE) path = displayPath(child);
    return true;
  }
  // The whole element must be there before it can be hashed, and none of it may be gone yet.
  bool enter(const ArbNode& node) {
    if (sortOf(node) != NodeSort::element || kindOf(node).name != name) return true;
    auto* const element = const_cast<ArbNode*>(&node);
    if (ArbNodeWaitProducerDone(element) != ARB_OK) return false;
    groupOf(element).places.push_back(path + ':' + std::to_string(asElement(node).byteOffset));
    return true;
  }

  Group& groupOf(ArbNode* element) {
    std::vector<std::size_t>& candidates = byHash[ArbNodeHashCode(element)];
    for (const std::size_t candidate : candidates) {
      if (ArbNodeIsEqual(groups[candidate].copy, element)) return groups[candidate];
    }
    candidates.push_back(groups.size());
    return groups.emplace_back(Group{keep->add(element), {}});
  }

  void print(OutputFile& out) const {
    for (const Group& group : groups) {
      if (group.places.size() < 2) continue;
      out.append(std::to_string(group.places.size()) + " equal:");
      for (const std::string& place : group.places) out.append(' ' + place);
      out.append('\n');
    }
  }

  const std::string& name;
  std::string path;
  std::unique_ptr<Keep> keep = std::make_unique<Keep>();
  std::map<std::uint32_t, std::vector<std::size_t>> byHash;
  std::vector<Group> groups;
};

}  // namespace

int runDuplicates(const DuplicatesOptions& options) {
  Wanted wanted;
  wanted.details.offsets = true;
  return runCommand(
      options.common, wanted, false, [&](ContentDocument&, OutputFile&, Report&) { return Comparing(options.element); },
      [](const Comparing& comparing, ContentDocument&, OutputFile& out, Report&) { comparing.print(out); });
}

}  // namespace arbtree::tool
