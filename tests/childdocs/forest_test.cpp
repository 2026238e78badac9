// Forests: the producer's and the consumer's calls with their checks, navigation, and release of either side.
#include <functional>
#include <string>
#include <vector>

#include "support/host.h"

namespace arbtree::test {
namespace {

constexpr std::uint32_t kAttached = ARB_CHILD_ATTACHED, kClosed = ARB_CHILD_CLOSED, kDone = ARB_CHILD_PRODUCER_DONE,
                        kProducer = ARB_CHILD_PRODUCER_RELEASED, kConsumer = ARB_CHILD_CONSUMER_RELEASED;

TEST(ForestProducer, ChecksInOrderAndEffects) {
  enum Call { Append, Close, Archive0, Archive3, Archive7, Done, Release, Subtree };
  struct Row {
    Call call;
    std::uint32_t before;
    ArbStatus status;
    std::uint32_t after;
  };
  const std::uint32_t released = kClosed | kDone | kProducer;
  const Row rows[] = {
      {Append, kAttached, 0, kAttached},
      {Append, 0, 0, 0},
      {Append, kAttached | kConsumer, 0, kAttached | kConsumer},
      {Append, kAttached | kClosed, ARB_ERR_CLOSED, kAttached | kClosed},
      {Append, kAttached | released, ARB_ERR_RELEASED, kAttached | released},
      {Close, kAttached, 0, kAttached | kClosed},
      {Close, kAttached | kClosed, 0, kAttached | kClosed},
      {Close, kAttached | released, ARB_ERR_RELEASED, kAttached | released},
      {Archive0, kAttached, ARB_ERR_BADARG, kAttached},
      {Archive0, kAttached | kDone, ARB_ERR_LOCKED, kAttached | kDone},
      {Archive0, kAttached | released, ARB_ERR_RELEASED, kAttached | released},
      {Archive3, kAttached | kClosed, 0, kAttached | kClosed},
      {Archive3, kAttached | kDone, ARB_ERR_LOCKED, kAttached | kDone},
      {Archive7, 0, 0, 0},
      {Done, kAttached, 0, kAttached | kClosed | kDone},
      {Done, kAttached | kClosed | kDone, 0, kAttached | kClosed | kDone},
      {Done, 0, ARB_ERR_DETACHED, 0},
      {Done, released, ARB_ERR_RELEASED, released},
      {Release, kAttached, 0, kAttached | released},
      {Release, kAttached | kConsumer, 0, kAttached | released | kConsumer},
      {Release, 0, ARB_ERR_DETACHED, 0},
      {Release, released, ARB_ERR_RELEASED, released},
      {Subtree, kAttached, 0, kAttached | released},
      {Subtree, 0, 0, 0},  // its own release is refused, and not part of the answer
      {Subtree, kAttached | released, ARB_ERR_RELEASED, kAttached | released},
  };
  for (const std::uint32_t mode : {0u, 1u}) {
    for (const Row& row : rows) {
      SCOPED_TRACE(testing::Message() << "call " << row.call << ", flags " << row.before << ", mode " << mode);
      Host host(mode);
      ArbForest* const forest = host.makeForest(row.before & kAttached ? host.document->rootForest : nullptr);
      ArbForest* const extra = host.makeForest(nullptr);
      forest->child.flags = row.before;
      const std::function<ArbStatus()> calls[] = {
          [&] { return ArbForestAppendChild(forest, asChild(extra)); },
          [&] { return ArbForestAllChildrenAttached(forest); },
          [&] { return ArbForestSetArchiveType(forest, 0); },
          [&] { return ArbForestSetArchiveType(forest, 3); },
          [&] { return ArbForestSetArchiveType(forest, 7); },
          [&] { return ArbForestChildProducerDone(asChild(forest)); },
          [&] { return ArbForestChildProducerRelease(asChild(forest)); },
          [&] { return ArbForestProducerReleaseSubtree(forest); },
      };
      EXPECT_EQ(row.status, calls[row.call]());
      EXPECT_EQ(row.after, forest->child.flags);
      const bool appended = row.call == Append && row.status == ARB_OK;
      EXPECT_EQ(appended ? 1u : 0u, forest->childCount);
      EXPECT_EQ(appended ? asChild(extra) : nullptr, forest->firstChild);
      EXPECT_EQ(appended ? kAttached : 0u, extra->child.flags);
      if (!appended) ok(ArbForestDestroy(extra));
      if (!(row.before & kAttached)) ok(ArbForestDestroy(forest));
    }
  }
}

TEST(ForestProducer, ArchiveTypesAndTheirFormats) {
  Host host;
  ArbForest* const forest = host.makeForest(host.document->rootForest);
  struct Row {
    std::uint32_t type;
    std::uint32_t format;
  };
  for (const Row& row : {Row{7, 1998}, Row{2, 1802}, Row{7, 1802}, Row{1, 1998}, Row{3, 1802}, Row{4, 1802},
                         Row{1, 1998}, Row{0xFFFFFFFF, 1998}}) {
    ok(ArbForestSetArchiveType(forest, row.type));
    EXPECT_EQ(row.type, forest->archiveType);
    EXPECT_EQ(row.format, forest->child.formatId);
  }
  ok(ArbForestChildProducerDone(&host.document->rootForest->child));
  ok(ArbForestChildProducerRelease(&host.document->rootForest->child));
}

using ChildStep = ArbStatus(ARB_CALL*)(ArbForestChild*, ArbForestChild**);
using ForestStep = ArbStatus(ARB_CALL*)(ArbForest*, ArbForestChild**);

// A forest "f" in the root forest, with children 3, 4, 5 (its own id is 2) or none.
struct Grove {
  explicit Grove(std::uint32_t children, bool closed, std::uint32_t mode = 0, ArbStatus end = ARB_STATUS_END)
      : host(mode), forest(host.makeForest(host.document->rootForest)) {
    host.endResult = end;
    for (std::uint32_t i = 0; i < children; ++i) made.push_back(asChild(host.makeForest(forest)));
    if (closed) ok(ArbForestAllChildrenAttached(forest));
  }
  static std::string answer(ArbStatus status, const ArbForestChild* child) {
    return joined({std::to_string(status), " ", child ? std::to_string(child->id) : "null"});
  }
  std::string take(ForestStep step) {
    ArbForestChild* child = &untouched;
    const ArbStatus status = step(forest, &child);
    return answer(status, child);
  }
  std::string take(ChildStep step, ArbForestChild* from) {
    ArbForestChild* child = &untouched;
    const ArbStatus status = step(from, &child);
    return child == &untouched ? std::to_string(status) + " -" : answer(status, child);
  }
  std::string count(ArbStatus(ARB_CALL* call)(ArbForest*, std::uint32_t*)) {
    std::uint32_t number = 99;
    const ArbStatus status = call(forest, &number);
    EXPECT_EQ(status, call(forest, nullptr));
    return std::to_string(status) + " " + std::to_string(number);
  }
  Host host;
  ArbForest* const forest;
  std::vector<ArbForestChild*> made;
  ArbForestChild untouched{};
};

TEST(ForestConsumer, QueryAndWait) {
  struct Row {
    const char* name;
    std::uint32_t children;
    bool closed, released;
    std::uint32_t mode;
    ArbStatus end;
    const char *queryCount, *waitCount, *queryFirst, *waitFirst, *queryLast, *waitLast;
    ArbStatus waitAll;
  };
  const Row rows[] = {
      {"open, empty", 0, false, false, 0, 452, "145 0", "0 0", "145 null", "0 null", "145 null", "0 null", 0},
      {"open", 3, false, false, 0, 452, "145 0", "0 0", "0 3", "0 3", "145 null", "0 5", 0},
      {"closed, empty", 0, true, false, 0, 13, "0 0", "0 0", "0 null", "0 null", "0 null", "0 null", 0},
      {"closed", 3, true, false, 0, 13, "0 3", "0 3", "0 3", "0 3", "0 5", "0 5", 0},
      {"failing, empty", 0, false, false, 0, 13, "145 0", "13 0", "145 null", "13 null", "145 null", "13 null", 13},
      {"failing", 3, false, false, 0, 13, "145 0", "13 0", "0 3", "0 3", "145 null", "13 null", 13},
      {"released", 3, true, true, 0, 452, "2048 0", "2048 0", "2048 null", "2048 null", "2048 null", "2048 null", 2048},
      {"no consumer", 3, true, true, 1, 452, "2057 0", "2057 0", "2057 null", "2057 null", "2057 null", "2057 null",
       2057},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Grove grove(row.children, row.closed, row.mode, row.end);
    if (row.released) grove.forest->child.flags |= kConsumer;
    EXPECT_EQ(row.queryCount, grove.count(ArbForestQueryChildCount));
    EXPECT_EQ(row.queryFirst, grove.take(ArbForestQueryFirstChild));
    EXPECT_EQ(row.queryLast, grove.take(ArbForestQueryLastChild));
    EXPECT_TRUE(grove.host.runs.empty());
    EXPECT_EQ(row.waitCount, grove.count(ArbForestWaitChildCount));
    EXPECT_EQ(row.waitFirst, grove.take(ArbForestWaitFirstChild));
    EXPECT_EQ(row.waitLast, grove.take(ArbForestWaitLastChild));
    EXPECT_EQ(row.waitAll, ArbForestWaitAllChildrenAttached(grove.forest));
  }
}

TEST(ForestConsumer, Siblings) {
  struct Row {
    const char* name;
    bool closed;
    std::uint32_t mode;
    ArbStatus end;
    const char *queryLast, *waitLast;  // from the last child
  };
  for (const Row& row :
       {Row{"open", false, 0, 452, "145 null", "0 null"}, Row{"closed", true, 0, 13, "0 null", "0 null"},
        Row{"failing", false, 0, 13, "145 null", "13 null"}}) {
    SCOPED_TRACE(row.name);
    Grove grove(3, row.closed, row.mode, row.end);
    grove.made[0]->flags |= kConsumer | kProducer;  // of no consequence
    EXPECT_EQ("0 4", grove.take(ArbForestChildQueryNextSibling, grove.made[0]));
    EXPECT_EQ("0 4", grove.take(ArbForestChildWaitNextSibling, grove.made[0]));
    EXPECT_EQ("0 null", grove.take(ArbForestChildWaitPrevSibling, grove.made[0]));
    EXPECT_EQ("0 4", grove.take(ArbForestChildWaitPrevSibling, grove.made[2]));
    EXPECT_EQ(row.queryLast, grove.take(ArbForestChildQueryNextSibling, grove.made[2]));
    EXPECT_TRUE(grove.host.runs.empty());
    EXPECT_EQ(row.waitLast, grove.take(ArbForestChildWaitNextSibling, grove.made[2]));
  }
  Grove without(3, true, 1);
  EXPECT_EQ("2057 null", without.take(ArbForestChildQueryNextSibling, without.made[0]));
  EXPECT_EQ("2057 null", without.take(ArbForestChildWaitNextSibling, without.made[0]));
  EXPECT_EQ(ARB_ERR_MODE, ArbForestChildWaitPrevSibling(without.made[1], &without.made[2]));

  // A child without a parent has no sibling to wait for.
  Grove grove(0, false);
  ArbForest* const loose = grove.host.makeForest(nullptr);
  for (ArbForestChild* const child : {&grove.host.document->rootForest->child, asChild(loose)}) {
    EXPECT_EQ("0 null", grove.take(ArbForestChildQueryNextSibling, child));
    EXPECT_EQ("0 null", grove.take(ArbForestChildWaitNextSibling, child));
    EXPECT_EQ("0 null", grove.take(ArbForestChildWaitPrevSibling, child));
  }
  EXPECT_TRUE(grove.host.runs.empty());
  ok(ArbForestDestroy(loose));
}

// root forest(tree, f(g, tree2), h)
struct Nested {
  Host host;
  ArbForest* const root = host.document->rootForest;
  ArbTree* const tree = host.makeTree();
  ArbForest* const f = host.makeForest(root);
  ArbForest* const g = host.makeForest(f);
  ArbForest* const h = host.makeForest(root);
  std::vector<ArbForestChild*> all() { return {asChild(root), asChild(tree), asChild(f), asChild(g), asChild(h)}; }
  void expectFlags(std::uint32_t flags) {
    for (ArbForestChild* const child : all()) EXPECT_EQ(kAttached | flags, child->flags) << child->id;
  }
};

TEST(ForestRelease, ProducerSubtree) {
  Nested nested;
  ArbNode* const a = nested.host.append(rootOf(nested.tree), "a");
  ok(ArbForestChildProducerRelease(asChild(nested.h)));
  EXPECT_EQ(ARB_OK, ArbForestProducerReleaseSubtree(nested.root)) << "what is released already is skipped";
  nested.expectFlags(kClosed | kDone | kProducer);
  EXPECT_TRUE(a->flags & ARB_NODE_PRODUCER_RELEASED);
  EXPECT_EQ(ARB_ERR_RELEASED, ArbForestProducerReleaseSubtree(nested.root));
  EXPECT_EQ(ARB_ERR_RELEASED, ArbForestAppendChild(nested.f, asChild(nested.h)));
}

TEST(ForestRelease, ConsumerSubtreeReportsWhatWasReleasedBeforeAndGoesOn) {
  for (int before = 0; before < 5; ++before) {
    SCOPED_TRACE(before);
    Nested nested;
    ArbNode* const a = nested.host.append(rootOf(nested.tree), "a");
    // 0: nothing, else the tree, f, g or h
    if (before) ok(ArbForestChildConsumerRelease(nested.all()[static_cast<std::size_t>(before)]));
    EXPECT_EQ(before ? ARB_ERR_RELEASED : ARB_OK, ArbForestConsumerReleaseSubtree(nested.root));
    if (before == 2) {
      EXPECT_EQ(kAttached, nested.g->child.flags) << "a forest that refuses keeps its children from the walk";
      ok(ArbForestChildConsumerRelease(asChild(nested.g)));
    }
    nested.expectFlags(kConsumer);
    EXPECT_TRUE(a->flags & ARB_NODE_CONSUMER_RELEASED);
    EXPECT_EQ(ARB_ERR_RELEASED, ArbForestConsumerReleaseSubtree(nested.root));
    EXPECT_EQ(ARB_ERR_RELEASED, ArbForestChildConsumerRelease(asChild(nested.h)));
  }
}

TEST(ForestRelease, ConsumerReleaseOfATreeReleasesItsNodesUnlessItsRootIs) {
  Nested nested;
  ArbNode* const root = rootOf(nested.tree);
  ArbNode* const a = nested.host.append(root, "a");
  ok(ArbNodeConsumerRelease(root));
  ok(ArbForestChildConsumerRelease(asChild(nested.tree)));
  EXPECT_FALSE(a->flags & ARB_NODE_CONSUMER_RELEASED);
  EXPECT_EQ(kAttached | kConsumer, asChild(nested.tree)->flags);
}

}  // namespace
}  // namespace arbtree::test
