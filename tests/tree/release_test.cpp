// Completion and release by both sides: the whole sequence of events and hooks of every call, and its refusals.
#include <memory>
#include <vector>

#include "support/host.h"

namespace arbtree::test {
namespace {

std::uint32_t ARB_CALL attributesHook(std::uintptr_t argument, void* context) {
  const auto* const node = reinterpret_cast<const ArbNode*>(argument);
  auto& events = *static_cast<Recorder*>(context);
  events.add("hook attributes " + events.nameOf(node) + (node->flags & ARB_NODE_ATTRIBUTES_DONE ? " done" : ""));
  return 13;  // of no consequence
}
std::uint32_t ARB_CALL releaseHook(std::uintptr_t argument, void* context) {
  const auto* const node = reinterpret_cast<const ArbNode*>(argument);
  auto& events = *static_cast<Recorder*>(context);
  events.add("hook release " + events.nameOf(node) + (node->flags & ARB_NODE_PRODUCER_RELEASED ? " released" : ""));
  return 13;
}

class Release : public testing::Test {
 protected:
  void open(std::uint32_t mode = 0) {
    host = std::make_unique<Host>(mode);
    tree = host->makeTree();
    root = rootOf(tree);
    for (const std::uint32_t id : {elementId(1), ARB_ELEM_ROOT}) {
      ok(ArbTreeSetProducerNodeHook(tree, ARB_HOOK_ATTRIBUTES_DONE, id, attributesHook, &host->events));
      ok(ArbTreeSetProducerNodeHook(tree, ARB_HOOK_PRODUCER_RELEASE, id, releaseHook, &host->events));
    }
    host->record();
  }
  Lines events() { return host->events.take(); }

  std::unique_ptr<Host> host;
  ArbTree* tree = nullptr;
  ArbNode* root = nullptr;
};

using NodeCall = ArbStatus(ARB_CALL*)(ArbNode*);

// The calls are made one after another on one linked node whose parent is open.
TEST_F(Release, SequenceOfEveryCall) {
  struct Step {
    NodeCall call;
    ArbStatus status;
    Lines events;
    std::uint32_t flags;  // beyond linked and in the tree
  };
  struct Row {
    const char* name;
    std::vector<Step> steps;
  };
  const std::uint32_t attributes = ARB_NODE_ATTRIBUTES_DONE;
  const std::uint32_t done = attributes | ARB_NODE_CHILDREN_DONE;
  const std::uint32_t released = done | ARB_NODE_PRODUCER_RELEASED;
  const std::uint32_t consumer = ARB_NODE_CONSUMER_RELEASED;
  const Row rows[] = {
      {"attributes twice",
       {{ArbNodeAttributesDone, 0, {"hook attributes a", "attributes a"}, attributes},
        {ArbNodeAttributesDone, 0, {}, attributes}}},
      {"children twice",
       {{ArbNodeAllChildrenAttached, 0, {"children a"}, ARB_NODE_CHILDREN_DONE},
        {ArbNodeAllChildrenAttached, 0, {"children a"}, ARB_NODE_CHILDREN_DONE}}},
      {"done twice",
       {{ArbNodeProducerDone, 0, {"hook attributes a", "attributes a", "children a"}, done},
        {ArbNodeProducerDone, 0, {"children a"}, done}}},
      {"done after attributes",
       {{ArbNodeAttributesDone, 0, {"hook attributes a", "attributes a"}, attributes},
        {ArbNodeProducerDone, 0, {"children a"}, done}}},
      {"release of an open node",
       {{ArbNodeProducerRelease,
         0,
         {"producer-release a", "hook release a", "hook attributes a", "attributes a", "children a"},
         released},
        {ArbNodeProducerRelease, ARB_ERR_RELEASED, {}, released}}},
      {"release after attributes",
       {{ArbNodeAttributesDone, 0, {"hook attributes a", "attributes a"}, attributes},
        {ArbNodeProducerRelease, 0, {"producer-release a", "hook release a", "children a"}, released}}},
      {"release after children",
       {{ArbNodeAllChildrenAttached, 0, {"children a"}, ARB_NODE_CHILDREN_DONE},
        {ArbNodeProducerRelease,
         0,
         {"producer-release a", "hook release a", "hook attributes a", "attributes a"},
         released}}},
      {"release of a complete node",
       {{ArbNodeProducerDone, 0, {"hook attributes a", "attributes a", "children a"}, done},
        {ArbNodeProducerRelease, 0, {"producer-release a", "hook release a"}, released}}},
      {"consumer release twice",
       {{ArbNodeConsumerRelease, 0, {"consumer-release a"}, consumer},
        {ArbNodeConsumerRelease, ARB_ERR_RELEASED, {}, consumer},
        {ArbNodeAttributesDone, 0, {"hook attributes a", "attributes a"}, consumer | attributes}}},
      {"subtree calls on a leaf",
       {{ArbNodeProducerDoneSubtree, 0, {"hook attributes a", "attributes a", "children a"}, done},
        {ArbNodeProducerDoneSubtree, 0, {}, done},
        {ArbNodeProducerReleaseSubtree, 0, {"producer-release a", "hook release a"}, released},
        {ArbNodeProducerReleaseSubtree, 0, {}, released},
        {ArbNodeConsumerReleaseSubtree, 0, {"consumer-release a"}, released | consumer},
        {ArbNodeConsumerReleaseSubtree, ARB_ERR_RELEASED, {}, released | consumer}}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    open();
    ArbNode* const a = host->append(root, "a");  // stays: the last child of an open list
    events();
    int number = 0;
    for (const Step& step : row.steps) {
      SCOPED_TRACE(testing::Message() << "step " << ++number);
      EXPECT_EQ(step.status, step.call(a));
      EXPECT_EQ(step.events, events());
      EXPECT_EQ(step.flags | ARB_NODE_LINKED | ARB_NODE_IN_TREE, a->flags);
    }
  }
}

// Each child is released as soon as its next sibling is known, while the producer is still making the list.
// A callback within a run releases the node at which a walk waits, which frees it: the walk ends, and what it has not
// come to stays.
TEST(ReleaseOfASubtree, EndsAtANodeThatACallbackFrees) {
  for (const bool bySibling : {true, false}) {
    Host host;
    ArbTree* const tree = host.makeTree();
    ArbNode* const root = rootOf(tree);
    const auto releaseEarlier = [](ArbDocument*, std::uint32_t event, void* node, void*) -> std::uint32_t {
      if (event != ARB_EVENT_NODE_LINKED) return 0;
      ArbNode* const previous = resolve(static_cast<ArbNode*>(node)->prevSiblingCell);
      if (previous) ok(ArbNodeConsumerRelease(previous));
      return 0;
    };
    ok(ArbDocumentRegisterCallback(host.document, releaseEarlier, nullptr));
    for (const char* const name : {"a", "b", "c"}) {
      host.then([&host, root, name] {
        ok(ArbNodeProducerRelease(host.append(root, name)));
        return kPause;
      });
    }
    host.then([tree] { return ok(ArbForestChildProducerRelease(asChild(tree))), ARB_OK; });
    if (bySibling) {
      EXPECT_EQ(ARB_OK, ArbNodeConsumerReleaseSubtree(root));
    } else {
      ArbNode* first = nullptr;
      ArbNode* next = root;
      ok(ArbNodeWaitFirstChild(root, &first));
      EXPECT_EQ(ARB_OK, ArbNodeWaitNextSibling(first, &next));
      EXPECT_EQ(nullptr, next);
    }
    EXPECT_FALSE(root->flags & ARB_NODE_CONSUMER_RELEASED);
    EXPECT_EQ(1u, root->freedChildCount);
    ok(ArbDocumentUnregisterCallback(host.document, releaseEarlier));
  }
}

// Not even by whoever releases it as soon as it is made, when the tree does not know it yet.
TEST(ReleaseOfTheRoot, NeverFreesIt) {
  constexpr std::uint32_t kProducerOnly = 1;
  Host host(kProducerOnly);
  const auto release = [](ArbDocument*, std::uint32_t event, void* node, void*) -> std::uint32_t {
    EXPECT_NE(ARB_EVENT_NODE_FREED, event);
    if (event == ARB_EVENT_NODE_CREATED) ok(ArbNodeProducerRelease(static_cast<ArbNode*>(node)));
    return 0;
  };
  ok(ArbDocumentRegisterCallback(host.document, release, nullptr));
  ArbTree* tree = nullptr;
  ok(ArbDocumentCreateTree(host.document, u"t", &tree));
  ok(ArbDocumentUnregisterCallback(host.document, release));
  ArbNode* const root = ArbTreeRootNode(tree);
  ASSERT_NE(nullptr, root);
  EXPECT_EQ(ARB_ELEM_ROOT, root->nodeType->elementId);
  EXPECT_EQ(ARB_ERR_RELEASED, ArbNodeProducerRelease(root));
  ok(ArbTreeDestroy(tree));
}

TEST_F(Release, ConsumerSubtreeReleaseDrivesTheProducer) {
  open();
  ArbNode* const a = host->append(root, "a");
  const auto add = [&](const char* name) {
    return [this, a, name] { return ArbNodeProducerRelease(host->append(a, name)) == ARB_OK ? kPause : 13u; };
  };
  host->then(add("b")).then(add("c")).then([this] { return host->events.add("idle"), kPause; }).then(add("d"));
  host->then([this] { return host->events.add("idle"), kPause; });
  host->then([a] { return ArbNodeProducerRelease(a); });
  host->then([this] { return ArbNodeProducerRelease(root); });
  events();
  ok(ArbNodeConsumerReleaseSubtree(a));
  Lines lines;
  for (const std::string& line : events()) {
    if (line.starts_with("created") || line.starts_with("consumer") || line.starts_with("freed") || line == "idle") {
      lines.push_back(line);
    }
  }
  EXPECT_EQ((Lines{"created b", "created c", "consumer-release b", "freed b", "idle", "created d", "consumer-release c",
                   "freed c", "idle", "consumer-release d", "freed d", "consumer-release a", "freed a"}),
            lines);
  EXPECT_EQ("root", host->shape(root));
}

TEST_F(Release, ConsumerSubtreeReleaseAnswersTheLastWait) {
  struct Row {
    const char* name;
    bool releasedBefore;
    ArbStatus end;
    ArbStatus status;
    Lines events;
  };
  const Row rows[] = {
      {"ended", false, 452, ARB_OK, {"consumer-release b", "consumer-release a"}},
      {"failed", false, 13, 13, {"consumer-release b", "consumer-release a"}},
      {"released before", true, 452, ARB_ERR_RELEASED, {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    open();
    host->endResult = row.end;
    ArbNode* const a = host->append(root, "a");
    host->append(a, "b");
    if (row.releasedBefore) ok(ArbNodeConsumerRelease(a));
    events();
    EXPECT_EQ(row.status, ArbNodeConsumerReleaseSubtree(a));
    EXPECT_EQ(row.events, events());
  }
}

}  // namespace
}  // namespace arbtree::test
