// Waiting while the producer works: how many runs a wait takes, what a failing run leaves, waits on single references.
#include <functional>
#include <map>
#include <string>

#include "support/host.h"
#include "tree/cell_pool.h"

namespace arbtree::test {
namespace {

// root(a(b) c), one thing a run: a linked, b linked, a closed, c linked, root closed, attributes of a.
class Waiting : public TreeTest {
 protected:
  Waiting() {
    host.stepsPerRun = 1;
    host.then([this] { return a = host.append(root, "a"), ARB_OK; });
    host.then([this] { return b = host.append(a, "b"), ARB_OK; });
    host.then([this] { return ArbNodeAllChildrenAttached(a); });
    host.then([this] { return c = host.append(root, "c"), ARB_OK; });
    host.then([this] { return ArbNodeAllChildrenAttached(root); });
    host.then([this] { return ArbNodeAttributesDone(a); });
  }
  void run(int times) {
    for (int i = 0; i < times; ++i) ok(ArbDocumentReadAhead(host.document));
  }

  ArbNode *a = nullptr, *b = nullptr, *c = nullptr;
};

TEST_F(Waiting, AWaitRunsTheProducerAsOftenAsItsAnswerNeeds) {
  ArbNode* node = nullptr;
  std::uint32_t count = 0;
  struct Row {
    const char* name;
    std::function<ArbStatus()> wait;
    const char* answer;
    std::size_t runs;
  };
  const Row rows[] = {
      {"first child of the root", [&] { return ArbNodeWaitFirstChild(root, &node); }, "a", 1},
      {"first child of a", [&] { return ArbNodeWaitFirstChild(a, &node); }, "b", 2},
      {"next of b", [&] { return ArbNodeWaitNextSibling(b, &node); }, "null", 3},
      {"next of a", [&] { return ArbNodeWaitNextSibling(a, &node); }, "c", 4},
      {"parent of c", [&] { return ArbNodeWaitParent(c, &node); }, "root", 4},
      {"last child of the root", [&] { return ArbNodeWaitLastChild(root, &node); }, "c", 5},
      {"children of the root", [&] { return ArbNodeWaitChildCount(root, &count); }, "c", 5},
      {"attributes of a", [&] { return ArbNodeWaitAttributesDone(a); }, "c", 6},
      {"producer's end of a", [&] { return ArbNodeWaitProducerDone(a); }, "c", 6},
      {"first child of c", [&] { return ArbNodeWaitFirstChild(c, &node); }, "null", 6},
      {"first child of c again", [&] { return ArbNodeWaitFirstChild(c, &node); }, "null", 6},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    ok(row.wait());
    EXPECT_EQ(row.answer, host.events.nameOf(node));
    EXPECT_EQ(row.runs, host.runs.size());
  }
  EXPECT_EQ(2u, count);
}

// What the answer hangs on decides whether a run is made, and a run's failure is the answer; then or with an ended
// producer, every answer is what exists.
TEST(WaitingAtTheEnd, AnswersAndFailures) {
  using Wait = std::function<ArbStatus(ArbNode*, ArbNode**, std::uint32_t*)>;
  const auto step = [](ArbStatus(ARB_CALL * call)(ArbNode*, ArbNode**)) -> Wait {
    return [call](ArbNode* from, ArbNode** node, auto) { return call(from, node); };
  };
  const auto whole = [](ArbStatus(ARB_CALL * call)(ArbNode*)) -> Wait {
    return [call](ArbNode* from, auto, auto) { return call(from); };
  };
  const Wait count = [](ArbNode* from, auto, std::uint32_t* number) { return ArbNodeWaitChildCount(from, number); };
  struct Row {
    const char *name, *from;
    Wait wait;
    const char *ended, *failed;  // status, node (or "-"), count
  };
  const Row rows[] = {
      {"first child of an open list", "open", step(ArbNodeWaitFirstChild), "0 x 77", "0 x 77"},
      {"first child where none is", "x", step(ArbNodeWaitFirstChild), "0 null 77", "13 - 77"},
      {"last child of an open list", "open", step(ArbNodeWaitLastChild), "0 x 77", "13 - 77"},
      {"last child of a closed list", "closed", step(ArbNodeWaitLastChild), "0 y 77", "0 y 77"},
      {"next in an open list", "x", step(ArbNodeWaitNextSibling), "0 null 77", "13 - 77"},
      {"next in a closed list", "y", step(ArbNodeWaitNextSibling), "0 null 77", "0 null 77"},
      {"count of an open list", "open", count, "0 - 0", "13 - 0"},
      {"count of a closed list", "closed", count, "0 - 1", "0 - 1"},
      {"closing of an open list", "open", whole(ArbNodeWaitAllChildrenAttached), "0 - 77", "13 - 77"},
      {"closing of a closed list", "closed", whole(ArbNodeWaitAllChildrenAttached), "0 - 77", "0 - 77"},
      {"attributes that are open", "open", whole(ArbNodeWaitAttributesDone), "0 - 77", "13 - 77"},
      {"attributes that are done", "closed", whole(ArbNodeWaitAttributesDone), "0 - 77", "0 - 77"},
      {"all of an open node", "open", whole(ArbNodeWaitProducerDone), "0 - 77", "13 - 77"},
  };
  for (const Row& row : rows) {
    for (const ArbStatus end : {ARB_STATUS_END, 13u}) {
      SCOPED_TRACE(testing::Message() << row.name << ", the producer answers " << end);
      Host host;
      host.endResult = end;
      ArbNode* const root = rootOf(host.makeTree());
      std::map<std::string, ArbNode*> nodes;
      for (const char* const name : {"open", "closed"}) nodes[name] = host.append(root, name);
      nodes["x"] = host.append(nodes["open"], "x");
      nodes["y"] = host.append(nodes["closed"], "y");
      ok(ArbNodeProducerDone(nodes["closed"]));
      for (int again = 0; again < 2; ++again) {
        ArbNode* node = untouchedNode();
        std::uint32_t children = 77;
        const ArbStatus status = row.wait(nodes[row.from], &node, &children);
        const std::string result = node == untouchedNode() ? "-" : host.events.nameOf(node);
        EXPECT_EQ(end == 13 ? row.failed : row.ended,
                  joined({std::to_string(status), " ", result, " ", std::to_string(children)}));
      }
      EXPECT_EQ(std::string(row.failed).starts_with("13") ? 1u : 0u, host.runs.size());
    }
  }
}

TEST_F(Waiting, AFailingRunsWorkIsThereForTheNextQuestion) {
  Host failing;
  ArbNode* const top = rootOf(failing.makeTree());
  failing.then([&] { return failing.append(top, "x"), 13u; });
  ArbNode* node = untouchedNode();
  EXPECT_EQ(13u, ArbNodeWaitFirstChild(top, &node));
  EXPECT_EQ(untouchedNode(), node);
  ok(ArbNodeWaitFirstChild(top, &node));
  EXPECT_EQ("x", failing.events.nameOf(node));
  EXPECT_EQ(13u, ArbNodeWaitNextSibling(resolve(top->firstChildCell), &node));
}

TEST_F(Waiting, OnAReferenceThatAFailingRunResolves) {
  for (const bool resolved : {true, false}) {
    Host failing;
    ArbTree* const other = failing.makeTree();
    ArbNodeRef* const cell = takeCell(*other);
    *cell = {ARB_REF_FLOATING, 50};
    ArbNode* made = nullptr;
    failing.then([&] {
      if (resolved) made = failing.make(other, "d", elementId(1), cell);
      return 13u;
    });
    ArbNode* node = untouchedNode();
    EXPECT_EQ(13u, ArbNodeRefWaitNode(cell, failing.document, &node));
    EXPECT_EQ(made, node);
    EXPECT_EQ(resolved ? ARB_OK : 13u, ArbNodeRefWaitNode(cell, failing.document, &node));
    EXPECT_EQ(made, node);
    if (made) ok(ArbNodeDestroy(made));
  }
}

TEST_F(Waiting, OnAReferenceThatNeverResolves) {
  ArbNode* node = untouchedNode();
  ok(ArbNodeRefWaitNode(nullptr, host.document, &node));
  EXPECT_EQ(nullptr, node);
  EXPECT_EQ(0u, host.runs.size());
  ArbNodeRef freed{ARB_REF_FREED, 7};
  node = untouchedNode();
  ok(ArbNodeRefWaitNode(&freed, host.document, &node));
  EXPECT_EQ(nullptr, node);
  EXPECT_EQ(6u, host.runs.size());
  EXPECT_TRUE(host.document->flags & ARB_DOC_ENDED);
}

// A marked node that is gone: production runs to its end, then there is no node. A failing producer shows instead.
TEST_F(Waiting, OnACursorWhoseNodeIsFreed) {
  for (const ArbStatus end : {ARB_STATUS_END, 99u}) {
    Host other;
    other.then([] { return kPause; });
    other.endResult = end;
    ArbNode* const gone = other.make(other.makeTree(), "gone");
    ArbTree* const its = gone->tree;
    ok(ArbNodeCreateID(gone));
    ok(ArbTreePushCursor(its, gone));
    ok(ArbNodeDestroy(gone));
    ArbNode* node = untouchedNode();
    EXPECT_EQ(end == ARB_STATUS_END ? ARB_OK : end, ArbTreePopCursor(its, &node));
    EXPECT_EQ(nullptr, node);
    EXPECT_EQ(0u, its->cursorDepth);
    EXPECT_EQ(2u, other.runs.size());
  }
}

// Which candidates a search looks at, and what stops it, is part of the random calls (tests/tree/random_test.cpp).
TEST(WaitingForAnElementId, FindsWhatIsMadeMeanwhile) {
  Host host;
  ArbNode* const root = rootOf(host.makeTree());
  ArbNode* const first = host.append(root, "first");
  host.stepsPerRun = 1;
  host.endResult = 13;
  host.then([&] { return host.append(root, "f"), ARB_OK; });
  host.then([&] { return host.append(root, "g", elementId(5)), ARB_OK; });
  host.then([] { return kPause; });
  struct Row {
    ArbStatus(ARB_CALL* search)(ArbNode*, std::uint32_t, ArbNode**);
    ArbNode* from;
    std::uint32_t local;
    const char* answer;
    std::size_t runs;
  };
  for (const Row& row : {Row{ArbNodeQueryFirstChildByElementId, root, 5, "145 -", 0},
                         Row{ArbNodeWaitFirstChildByElementId, root, 5, "0 g", 2},
                         Row{ArbNodeWaitNextSiblingByElementId, first, 1, "0 f", 2},
                         Row{ArbNodeWaitFirstChildByElementId, root, 6, "13 -", 4},
                         Row{ArbNodeWaitFirstChildByElementId, root, 5, "0 g", 4}}) {
    ArbNode* result = untouchedNode();
    const ArbStatus status = row.search(row.from, elementId(row.local), &result);
    EXPECT_EQ(status, row.search(row.from, elementId(row.local), nullptr));
    const std::string name = result == untouchedNode() ? "-" : host.events.nameOf(result);
    EXPECT_EQ(row.answer, joined({std::to_string(status), " ", name}));
    EXPECT_EQ(row.runs, host.runs.size());
  }
}

// The consumer has released the node, a run frees it, and the next node of its kind gets its cell and its record.
TEST(WaitingOnAFreedNode, EndsAlsoWhereAnotherNodeTakesItsPlace) {
  using Call = ArbStatus (*)(ArbNode*);
  static std::uint32_t elementsEnded;
  elementsEnded = 0;
  const Call calls[] = {
      [](ArbNode* node) { return ArbNodeWaitAttributesDone(node); },
      [](ArbNode* node) { return ArbNodeWaitAllChildrenAttached(node); },
      [](ArbNode* node) { return ArbNodeWaitProducerDone(node); },
      [](ArbNode* node) {
        ArbString* name = nullptr;
        const ArbStatus status = ArbNodeRefWaitIdString(node->cell, node->tree->child.document, &name);
        return name ? ARB_ERR_BADARG : status;
      },
      [](ArbNode* node) {
        ArbTraverserCallbacks callbacks = {};
        callbacks.endElement = [](ArbNode*, std::uint32_t, void*) -> std::uint32_t { return ++elementsEnded; };
        return ArbDocumentOrderTraverser(node, &callbacks, nullptr) == 1 ? ARB_OK : ARB_ERR_BADARG;
      },
  };
  int number = 0;
  for (const Call call : calls) {
    SCOPED_TRACE(testing::Message() << "call " << number++);
    Host host;
    ArbNode* const root = rootOf(host.makeTree());
    host.then([] { return kPause; }).then([&] {
      ArbNode* const first = resolve(root->firstChildCell);
      host.append(root, "b");
      EXPECT_EQ(ARB_OK, ArbNodeProducerRelease(first));
      host.append(root, "c", ARB_ELEM_EXTERNAL_REFERENCE);
      return kPause;
    });
    EXPECT_EQ(ARB_OK, ArbDocumentReadAhead(host.document));
    ArbNode* const a = host.append(root, "a", ARB_ELEM_EXTERNAL_REFERENCE);
    EXPECT_EQ(ARB_OK, ArbNodeConsumerRelease(a));
    EXPECT_EQ(ARB_OK, call(a));
    EXPECT_EQ(2u, host.runs.size());
  }
  EXPECT_EQ(0u, elementsEnded);
}

}  // namespace
}  // namespace arbtree::test
