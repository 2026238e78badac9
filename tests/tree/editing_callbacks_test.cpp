// Callbacks that edit the tree while a call goes over a subtree: what is done to which nodes is what a recursion does
// that holds its nodes, whatever becomes of the links between them.
#include <map>
#include <string>

#include "support/host.h"
#include "tree/node.h"

namespace arbtree::test {
namespace {

// root(g(q) p(a(c d) b(e) f) z) of a producer-only document, and x outside. The first event of a kind about a node of a
// name has the edit made.
class Document {
 public:
  using Edit = void (*)(Document&);

  Document() {
    root = rootOf(host.makeTree());
    const struct {
      const char *parent, *name;
    } rows[] = {{"root", "g"}, {"g", "q"}, {"root", "p"}, {"p", "a"}, {"a", "c"},
                {"a", "d"},    {"p", "b"}, {"b", "e"},    {"p", "f"}, {"root", "z"}};
    enter(root);
    for (const auto& row : rows) enter(host.append((*this)[row.parent], row.name));
    enter(host.make(root->tree, "x"));
    host.record();
    ok(ArbDocumentRegisterCallback(host.document, onEvent, this));
  }
  ArbNode* operator[](const char* name) { return nodes.at(name).get(); }

  void moveToQ(const char* name) {
    ArbNodeRemoveFromTree((*this)[name]);
    ArbNodeAppendChild((*this)["q"], (*this)[name]);
  }
  // What happened, and what has become of the nodes.
  Lines outcome() {
    Lines lines = host.events.take();
    lines.push_back(host.shape(root));
    return lines;
  }
  ~Document() {
    edit = nullptr;
    ok(ArbDocumentUnregisterCallback(host.document, onEvent));
    for (const auto& [name, watch] : nodes) {
      ArbNode* const node = watch.get();
      if (node && !(node->flags & ARB_NODE_LINKED)) ok(ArbNodeDestroy(node));
    }
  }

  Host host{1};
  ArbNode* root;
  std::map<std::string, NodeWatch> nodes;  // by name
  std::uint32_t event = 0;
  const ArbNode* about = nullptr;
  Edit edit = nullptr;

 private:
  void enter(const ArbNode* node) { nodes[host.events.nameOf(node)] = NodeWatch(*node); }
  static std::uint32_t ARB_CALL onEvent(ArbDocument*, std::uint32_t event, void* node, void* self) {
    auto& document = *static_cast<Document*>(self);
    if (document.edit && event == document.event && node == document.about)
      std::exchange(document.edit, nullptr)(document);
    return 0;
  }
};

template <std::uint32_t Done, ArbStatus(ARB_CALL* Finish)(ArbNode*)>
void recursively(ArbNode* node) {
  const bool before = (node->flags & Done) == Done;
  const ArbNodeRef* const cell = node->cell;
  for (ArbNode* child = resolve(node->firstChildCell); child;) {
    const ArbNodeRef* const next = child->nextSiblingCell;
    recursively<Done, Finish>(child);
    child = resolve(next);
  }
  if (!before && resolve(cell) == node) Finish(node);
}

const struct {
  const char* name;
  Document::Edit edit;
} kEdits[] = {
    {"none", [](Document&) {}},
    {"remove a", [](Document& d) { ArbNodeRemoveFromTree(d["a"]); }},
    {"remove b", [](Document& d) { ArbNodeRemoveFromTree(d["b"]); }},
    {"remove p", [](Document& d) { ArbNodeRemoveFromTree(d["p"]); }},
    {"insert x before b", [](Document& d) { ArbNodeInsertSiblingBefore(d["b"], d["x"]); }},
    {"append x to p", [](Document& d) { ArbNodeAppendChild(d["p"], d["x"]); }},
    {"move a to q", [](Document& d) { d.moveToQ("a"); }},
    {"move p to q", [](Document& d) { d.moveToQ("p"); }},
    {"move the children of p to q", [](Document& d) { ArbNodeTransferChildren(d["p"], d["q"]); }},
    {"complete p", [](Document& d) { ArbNodeProducerDone(d["p"]); }},
    {"release b and what is below it", [](Document& d) { ArbNodeProducerReleaseSubtree(d["b"]); }},
};

template <std::uint32_t Done, ArbStatus(ARB_CALL* Finish)(ArbNode*)>
void compareWithTheRecursion(ArbStatus(ARB_CALL* library)(ArbNode*)) {
  for (const auto& [name, edit] : kEdits) {
    for (const char* const about : {"c", "d", "a", "e"}) {
      for (const std::uint32_t event :
           {ARB_EVENT_ATTRIBUTES_DONE, ARB_EVENT_CHILDREN_DONE, ARB_EVENT_PRODUCER_RELEASE}) {
        SCOPED_TRACE(testing::Message() << name << " at event " << event << " of " << about);
        Lines outcomes[2];
        for (const bool plain : {true, false}) {
          Document document;
          document.event = event;
          document.about = document[about];
          document.edit = edit;
          plain ? recursively<Done, Finish>(document["p"]) : ok(library(document["p"]));
          outcomes[plain] = document.outcome();
        }
        EXPECT_EQ(outcomes[true], outcomes[false]);
      }
    }
  }
}

TEST(EditingCallbacks, CompletingASubtree) {
  constexpr std::uint32_t kDone = ARB_NODE_ATTRIBUTES_DONE | ARB_NODE_CHILDREN_DONE;
  compareWithTheRecursion<kDone, ArbNodeProducerDone>(ArbNodeProducerDoneSubtree);
}
TEST(EditingCallbacks, ReleasingASubtree) {
  compareWithTheRecursion<ARB_NODE_PRODUCER_RELEASED, ArbNodeProducerRelease>(ArbNodeProducerReleaseSubtree);
}

// Which nodes have entered the tree when p(a(c d) b(e) f) is linked and an event of one of them edits.
TEST(EditingCallbacks, LinkingASubtree) {
  const struct {
    const char* name;
    std::uint32_t event;
    const char* about;
    Document::Edit edit;
    const char* entered;
  } rows[] = {
      {"nothing", 0, "p", nullptr, "pacdbef"},
      {"remove the lowest", ARB_EVENT_NODE_IN_TREE, "d", [](Document& d) { ArbNodeRemoveFromTree(d["d"]); }, "pacdbef"},
      {"remove its parent", ARB_EVENT_NODE_IN_TREE, "c", [](Document& d) { ArbNodeRemoveFromTree(d["a"]); }, "pacd"},
      {"remove the top", ARB_EVENT_NODE_IN_TREE, "c", [](Document& d) { ArbNodeRemoveFromTree(d["p"]); }, "pacdbef"},
      {"remove the next", ARB_EVENT_NODE_IN_TREE, "a", [](Document& d) { ArbNodeRemoveFromTree(d["b"]); }, "pacdf"},
      {"free the lowest", ARB_EVENT_NODE_IN_TREE, "c", [](Document& d) { ArbNodeProducerRelease(d["c"]); }, "pacbef"},
      {"remove what is linked", ARB_EVENT_NODE_LINKED, "p", [](Document& d) { ArbNodeRemoveFromTree(d["p"]); }, ""},
      {"destroy what is linked", ARB_EVENT_NODE_LINKED, "p", [](Document& d) { ArbNodeDestroy(d["p"]); }, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Document document;
    ArbNode* const p = document["p"];
    ok(ArbNodeRemoveFromTree(p));
    for (const char* const below : {"a", "b", "c", "d", "e", "f"}) {
      document[below]->flags = static_cast<std::uint8_t>(document[below]->flags & ~ARB_NODE_IN_TREE);
    }
    document.host.events.take();
    document.event = row.event;
    document.about = document[row.about];
    document.edit = row.edit;
    ok(ArbNodeAppendChild(document.root, p));
    std::string entered;
    for (const std::string& line : document.host.events.take()) {
      if (line.starts_with("in-tree ")) entered += line.substr(8);
    }
    EXPECT_EQ(row.entered, entered);
  }
}

// The source's nodes are unlinked while they are copied.
TEST(EditingCallbacks, CloningASubtree) {
  // When the first copy, of c, is linked, the walk stands at c below a below p.
  const std::pair<const char*, std::uint32_t> rows[] = {{"a", 1}, {"c", 3}, {"b", 2}, {"p", 3}};
  for (const auto& [unlinked, children] : rows) {
    SCOPED_TRACE(unlinked);
    Document document;
    const auto unlink = [](ArbDocument*, std::uint32_t event, void*, void* node) -> std::uint32_t {
      if (event == ARB_EVENT_NODE_LINKED) ArbNodeRemoveFromTree(static_cast<ArbNode*>(node));
      return 0;
    };
    ok(ArbDocumentRegisterCallback(document.host.document, unlink, document[unlinked]));
    ArbNode* copy = nullptr;
    ok(ArbNodeCloneSubtree(document["p"], nullptr, &copy));
    ok(ArbDocumentUnregisterCallback(document.host.document, unlink));
    EXPECT_EQ(children, copy->childCount);
    ok(ArbNodeDestroy(copy));
  }
}

}  // namespace
}  // namespace arbtree::test
