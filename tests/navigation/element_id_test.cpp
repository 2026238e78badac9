// Searches by element id: which candidates are looked at, and what stops a search.
#include <gtest/gtest.h>

#include <string>

#include "support/host.h"

namespace arbtree::test {
namespace {

using Search = ArbStatus(ARB_CALL*)(ArbNode*, std::uint32_t, ArbNode**);

constexpr std::uint32_t kId1 = elementId(1), kId2 = elementId(2), kId3 = elementId(3);
constexpr std::uint32_t kOtherNamespace = elementId(2, kTestNamespace + 1);
constexpr std::uint32_t kOtherTop = elementId(2, kTestNamespace, 3);

// root(a1 b1(x1(y3) x2) c2 d2 e3): the digit is the element id's local part. The root is open, the others are closed.
struct Family {
  explicit Family(std::uint32_t mode = 0) : host(mode) {
    root = rootOf(host.makeTree());
    a = host.append(root, "a", kId1);
    b = host.append(root, "b", kId1);
    x = host.append(b, "x", kId1);
    y = host.append(x, "y", kId3);
    x2 = host.append(b, "x2", kId2);
    c = host.append(root, "c", kId2);
    d = host.append(root, "d", kId2);
    e = host.append(root, "e", kId3);
    for (ArbNode* const node : {a, b, c, d, e}) EXPECT_EQ(ARB_OK, ArbNodeProducerDoneSubtree(node));
  }
  std::string find(Search search, ArbNode* from, std::uint32_t id) {
    ArbNode* result = untouchedNode();
    const ArbStatus status = search(from, id, &result);
    EXPECT_EQ(status, search(from, id, nullptr));
    return std::to_string(status) + " " + (result == untouchedNode() ? "-" : host.events.nameOf(result));
  }
  Host host;
  ArbNode *root, *a, *b, *x, *y, *x2, *c, *d, *e;
};

constexpr Search gf = ArbNodeGetFirstChildByElementId, gn = ArbNodeGetNextSiblingByElementId,
                 ga = ArbNodeGetAncestorByElementId, qf = ArbNodeQueryFirstChildByElementId,
                 wf = ArbNodeWaitFirstChildByElementId, wn = ArbNodeWaitNextSiblingByElementId,
                 wa = ArbNodeWaitAncestorByElementId;

TEST(ElementIdSearch, MatchesWholeIdsInOrder) {
  struct Row {
    const char* name;
    Search search;
    ArbNode* Family::*from;
    std::uint32_t id;
    const char* answer;
  };
  const Row rows[] = {
      {"get first", gf, &Family::root, kId1, "0 a"},
      {"get first, later child", gf, &Family::root, kId2, "0 c"},
      {"get first, other namespace", gf, &Family::root, kOtherNamespace, "0 -"},
      {"get first, other top bits", gf, &Family::root, kOtherTop, "0 -"},
      {"get first, local id only", gf, &Family::root, 2, "0 -"},
      {"get first, no children", gf, &Family::a, kId1, "0 -"},
      {"get next", gn, &Family::a, kId1, "0 b"},
      {"get next, not itself", gn, &Family::b, kId1, "0 -"},
      {"get next, later", gn, &Family::a, kId3, "0 e"},
      {"get next of the root", gn, &Family::root, kId1, "0 -"},
      {"get ancestor", ga, &Family::y, kId1, "0 x"},
      {"get ancestor, root", ga, &Family::y, ARB_ELEM_ROOT, "0 root"},
      {"get ancestor, not itself", ga, &Family::y, kId3, "0 -"},
      {"query first", qf, &Family::root, kId3, "0 e"},
      {"query first, none in an open list", qf, &Family::root, kOtherTop, "145 -"},
      {"query first, none in a closed list", qf, &Family::b, kId3, "0 -"},
      {"query first, no children, closed", qf, &Family::a, kId1, "0 -"},
      {"wait first", wf, &Family::root, kId2, "0 c"},
      {"wait first, none at the end", wf, &Family::root, kOtherNamespace, "0 -"},
      {"wait first, none in a closed list", wf, &Family::b, kId3, "0 -"},
      {"wait next", wn, &Family::c, kId2, "0 d"},
      {"wait next, none at the end", wn, &Family::d, kId2, "0 -"},
      {"wait next of the root", wn, &Family::root, kId1, "0 -"},
      {"wait ancestor", wa, &Family::y, kId1, "0 x"},
      {"wait ancestor, root", wa, &Family::x2, ARB_ELEM_ROOT, "0 root"},
      {"wait ancestor, none", wa, &Family::y, kId2, "0 null"},
      {"wait ancestor of the root", wa, &Family::root, ARB_ELEM_ROOT, "0 null"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Family family;
    EXPECT_EQ(row.answer, family.find(row.search, family.*row.from, row.id));
  }
}

TEST(ElementIdSearch, ReleasedNodesOnTheWay) {
  struct Row {
    const char* name;
    Search search;
    ArbNode* Family::*from;
    std::uint32_t id;
    ArbNode* Family::*released;
    bool byProducer;
    const char* answer;
  };
  const Row rows[] = {
      {"get: the node, by the producer", gf, &Family::b, kId2, &Family::b, true, "2048 -"},
      {"get next: the node, by the producer", gn, &Family::b, kId2, &Family::b, true, "2048 -"},
      {"get ancestor: the node, by the producer", ga, &Family::x, kId1, &Family::x, true, "2048 -"},
      {"get: the node, by the consumer", gf, &Family::b, kId2, &Family::b, false, "0 x2"},
      {"get: a candidate, by the producer", gf, &Family::b, kId2, &Family::x, true, "0 x2"},
      {"get: a candidate, by the consumer", gf, &Family::b, kId2, &Family::x, false, "0 x2"},
      {"query: the node", qf, &Family::b, kId2, &Family::b, false, "2048 -"},
      {"query: a candidate passed over", qf, &Family::b, kId2, &Family::x, false, "2048 -"},
      {"query: the match", qf, &Family::b, kId1, &Family::x, false, "0 x"},
      {"query: by the producer", qf, &Family::b, kId2, &Family::x, true, "0 x2"},
      {"wait: the node", wf, &Family::b, kId2, &Family::b, false, "2048 -"},
      {"wait: a candidate passed over", wf, &Family::b, kId2, &Family::x, false, "2048 -"},
      {"wait: the match", wf, &Family::b, kId1, &Family::x, false, "0 x"},
      {"wait next: the node", wn, &Family::x, kId2, &Family::x, false, "2048 -"},
      {"wait next: a candidate passed over", wn, &Family::b, kId3, &Family::d, false, "2048 -"},
      {"wait next: the match", wn, &Family::b, kId2, &Family::c, false, "0 c"},
      {"wait ancestor: the node", wa, &Family::y, kId1, &Family::y, false, "2048 null"},
      {"wait ancestor: one passed over", wa, &Family::y, ARB_ELEM_ROOT, &Family::b, false, "2048 null"},
      {"wait ancestor: the match", wa, &Family::y, ARB_ELEM_ROOT, &Family::root, false, "0 root"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Family family;
    ArbNode* const released = family.*row.released;
    EXPECT_EQ(ARB_OK, row.byProducer ? ArbNodeProducerRelease(released) : ArbNodeConsumerRelease(released));
    EXPECT_EQ(row.answer, family.find(row.search, family.*row.from, row.id));
  }
}

TEST(ElementIdSearch, WithoutAConsumerOnlyGetAnswers) {
  Family family(1);
  EXPECT_EQ("0 c", family.find(gf, family.root, kId2));
  EXPECT_EQ("0 b", family.find(gn, family.a, kId1));
  EXPECT_EQ("0 x", family.find(ga, family.y, kId1));
  EXPECT_EQ("2057 -", family.find(qf, family.root, kId2));
  EXPECT_EQ("2057 -", family.find(wf, family.root, kId2));
  EXPECT_EQ("2057 -", family.find(wn, family.a, kId1));
  EXPECT_EQ("2057 null", family.find(wa, family.y, kId1));
}

TEST(ElementIdSearch, AWaitFindsWhatIsMadeDuringIt) {
  Family family;
  family.host.stepsPerRun = 1;
  family.host.then([&] { return family.host.append(family.root, "f", kId1), ARB_OK; });
  family.host.then([&] { return family.host.append(family.root, "g", kOtherTop), ARB_OK; });
  family.host.then([&] { return family.host.append(family.root, "h", kOtherTop), ARB_OK; });
  EXPECT_EQ("145 -", family.find(qf, family.root, kOtherTop));
  EXPECT_EQ("0 g", family.find(wf, family.root, kOtherTop));
  EXPECT_EQ(2u, family.host.runs.size());
  EXPECT_EQ("0 f", family.find(wn, family.b, kId1));
  EXPECT_EQ(2u, family.host.runs.size());

  Family failing;
  failing.host.endResult = 13;
  EXPECT_EQ("13 -", failing.find(wf, failing.root, kOtherTop));
  EXPECT_EQ("0 e", failing.find(wf, failing.root, kId3));
}

}  // namespace
}  // namespace arbtree::test
