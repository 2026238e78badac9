// Every plain navigation step from every kind of node, in its Query form and in its Wait form when production ends,
// fails, or is refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/host.h"

namespace arbtree::test {
namespace {

using Step = ArbStatus(ARB_CALL*)(ArbNode*, ArbNode**);
using Count = ArbStatus(ARB_CALL*)(ArbNode*, std::uint32_t*);
using Plain = ArbStatus(ARB_CALL*)(ArbNode*);

// root(eo ec po(p1 p2) pc(q1 q2) rel(r1 r2) z), where the root, eo, po and z are open, ec, pc and rel are closed, and
// the consumer has released rel; "loose" is in no list.
struct Shapes {
  explicit Shapes(std::uint32_t mode = 0) : host(mode) {
    ArbTree* const tree = host.makeTree();
    ArbNode* const root = rootOf(tree);
    add(root);
    for (const char* const name : {"eo", "ec", "po", "pc", "rel", "z"}) add(host.append(root, name));
    for (const char* const name : {"p1", "p2"}) add(host.append(node("po"), name));
    for (const char* const name : {"q1", "q2"}) add(host.append(node("pc"), name));
    for (const char* const name : {"r1", "r2"}) add(host.append(node("rel"), name));
    for (const char* const name : {"ec", "pc", "rel"}) EXPECT_EQ(ARB_OK, ArbNodeProducerDone(node(name)));
    if (mode == 0) {
      EXPECT_EQ(ARB_OK, ArbNodeConsumerRelease(node("rel")));
    }
    add(host.make(tree, "loose"));
  }
  ~Shapes() { EXPECT_EQ(ARB_OK, ArbNodeDestroy(node("loose"))); }
  Shapes(const Shapes&) = delete;
  Shapes& operator=(const Shapes&) = delete;

  void add(ArbNode* made) { nodes.push_back(made); }
  ArbNode* node(const std::string& name) const {
    for (ArbNode* const made : nodes) {
      if (host.events.nameOf(made) == name) return made;
    }
    return nullptr;
  }
  // "status name", where "-" is a result that was not written.
  std::string take(Step step, const char* from) {
    ArbNode* result = untouchedNode();
    const ArbStatus status = step(node(from), &result);
    return std::to_string(status) + " " + (result == untouchedNode() ? "-" : host.events.nameOf(result));
  }
  std::string count(Count step, const char* from) {
    std::uint32_t result = 99;
    const ArbStatus status = step(node(from), &result);
    EXPECT_EQ(status, step(node(from), nullptr));
    return std::to_string(status) + " " + std::to_string(result);
  }

  Host host;
  std::vector<ArbNode*> nodes;
};

TEST(Steps, QueryAndWaitFromEveryKindOfNode) {
  struct Row {
    const char* name;
    Step query, wait;  // null: no such form
    const char* from;
    const char* queried;
    const char* ended;
    const char* failed;
  };
  const Step qf = ArbNodeQueryFirstChild, wf = ArbNodeWaitFirstChild, ql = ArbNodeQueryLastChild,
             wl = ArbNodeWaitLastChild, qn = ArbNodeQueryNextSibling, wn = ArbNodeWaitNextSibling,
             wp = ArbNodeWaitPrevSibling, wu = ArbNodeWaitParent;
  const Row rows[] = {
      {"first child", qf, wf, "eo", "145 -", "0 null", "13 -"},
      {"first child", qf, wf, "ec", "0 null", "0 null", "0 null"},
      {"first child", qf, wf, "po", "0 p1", "0 p1", "0 p1"},
      {"first child", qf, wf, "pc", "0 q1", "0 q1", "0 q1"},
      {"first child", qf, wf, "rel", "2048 -", "2048 -", "2048 -"},
      {"first child", qf, wf, "root", "0 eo", "0 eo", "0 eo"},
      {"first child", qf, wf, "loose", "145 -", "0 null", "13 -"},
      {"last child", ql, wl, "eo", "145 -", "0 null", "13 -"},
      {"last child", ql, wl, "ec", "0 null", "0 null", "0 null"},
      {"last child", ql, wl, "po", "145 -", "0 p2", "13 -"},
      {"last child", ql, wl, "pc", "0 q2", "0 q2", "0 q2"},
      {"last child", ql, wl, "rel", "2048 -", "2048 -", "2048 -"},
      {"next sibling", qn, wn, "root", "0 -", "0 -", "0 -"},
      {"next sibling", qn, wn, "loose", "0 -", "0 -", "0 -"},
      {"next sibling", qn, wn, "eo", "0 ec", "0 ec", "0 ec"},
      {"next sibling", qn, wn, "p2", "145 -", "0 null", "13 -"},
      {"next sibling", qn, wn, "q1", "0 q2", "0 q2", "0 q2"},
      {"next sibling", qn, wn, "q2", "0 null", "0 null", "0 null"},
      {"next sibling", qn, wn, "z", "145 -", "0 null", "13 -"},
      {"next sibling", qn, wn, "rel", "2048 -", "2048 -", "2048 -"},
      {"next sibling", qn, wn, "r2", "0 null", "0 null", "0 null"},
      {"previous sibling", nullptr, wp, "eo", "", "0 null", "0 null"},
      {"previous sibling", nullptr, wp, "p2", "", "0 p1", "0 p1"},
      {"previous sibling", nullptr, wp, "rel", "", "0 pc", "0 pc"},
      {"previous sibling", nullptr, wp, "root", "", "0 null", "0 null"},
      {"parent", nullptr, wu, "root", "", "0 null", "0 null"},
      {"parent", nullptr, wu, "loose", "", "0 null", "0 null"},
      {"parent", nullptr, wu, "eo", "", "0 root", "0 root"},
      {"parent", nullptr, wu, "r1", "", "0 rel", "0 rel"},
      {"parent", nullptr, wu, "rel", "", "2048 -", "2048 -"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.name << " of " << row.from);
    Shapes ended;
    Shapes failed;
    failed.host.endResult = 13;
    if (row.query) {
      EXPECT_EQ(row.queried, ended.take(row.query, row.from));
    }
    EXPECT_TRUE(ended.host.runs.empty()) << "a Query never runs the producer";
    for (int again = 0; again < 2; ++again) {
      EXPECT_EQ(row.ended, ended.take(row.wait, row.from));
      EXPECT_EQ(row.failed, failed.take(row.wait, row.from));
    }
    if (row.query) {
      EXPECT_EQ(row.queried, ended.take(row.query, row.from)) << "after the end";
    }
    // The producer has been run once exactly where the answer hung on it.
    EXPECT_EQ(std::string(row.failed).starts_with("13") ? 1u : 0u, failed.host.runs.size());
  }
}

TEST(Steps, ChildCounts) {
  struct Row {
    const char* from;
    const char* queried;
    const char* ended;
    const char* failed;
  };
  for (const Row& row : {Row{"eo", "145 0", "0 0", "13 0"}, Row{"ec", "0 0", "0 0", "0 0"},
                         Row{"po", "145 2", "0 0", "13 0"}, Row{"pc", "0 2", "0 2", "0 2"},
                         Row{"rel", "2048 0", "2048 0", "2048 0"}, Row{"root", "145 6", "0 0", "13 0"}}) {
    SCOPED_TRACE(row.from);
    Shapes ended;
    Shapes failed;
    failed.host.endResult = 13;
    EXPECT_EQ(row.queried, ended.count(ArbNodeQueryChildCount, row.from));
    EXPECT_EQ(row.ended, ended.count(ArbNodeWaitChildCount, row.from));
    EXPECT_EQ(row.failed, failed.count(ArbNodeWaitChildCount, row.from));
  }
}

TEST(Steps, WaitingForFlags) {
  struct Row {
    const char* name;
    Plain wait;
    const char* from;
    ArbStatus ended, failed;
  };
  for (const Row& row : {Row{"children", ArbNodeWaitAllChildrenAttached, "eo", 0, 13},
                         Row{"children", ArbNodeWaitAllChildrenAttached, "pc", 0, 0},
                         Row{"children", ArbNodeWaitAllChildrenAttached, "rel", 0, 0},
                         Row{"attributes", ArbNodeWaitAttributesDone, "po", 0, 13},
                         Row{"attributes", ArbNodeWaitAttributesDone, "pc", 0, 0},
                         Row{"attributes", ArbNodeWaitAttributesDone, "rel", 0, 0}}) {
    SCOPED_TRACE(testing::Message() << row.name << " of " << row.from);
    Shapes ended;
    Shapes failed;
    failed.host.endResult = 13;
    EXPECT_EQ(row.ended, row.wait(ended.node(row.from)));
    EXPECT_EQ(row.failed, row.wait(failed.node(row.from)));
  }
}

}  // namespace
}  // namespace arbtree::test
