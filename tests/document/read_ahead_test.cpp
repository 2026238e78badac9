// One run of the producer: its entries and results, budgets and breaks, and the host's say afterwards. What a producer
// raises is in platform/guard_test.cpp.
#include "support/bail_out.h"
#include "support/host.h"
#include "support/standins.h"

namespace arbtree::test {
namespace {

std::uint32_t breakDue(const Host& host) {
  std::uint32_t due = 99;
  ok(ArbDocumentQueryBreak(host.document, &due));
  return due;
}

void run(const Host& host, int times) {
  for (int i = 0; i < times; ++i) ok(ArbDocumentReadAhead(host.document));
}

// A run that finds a break due, or not, and pauses.
Host::Step findsDue(const Host& host, std::uint32_t due) {
  return [&host, due] {
    EXPECT_EQ(due, breakDue(host));
    return kPause;
  };
}

TEST(ReadAhead, ResultsOfTheProducer) {
  struct Row {
    ArbStatus result, answer;    // of the producer, of the run and of the next one, whose producer would answer 0
    std::uint32_t flags, error;  // after the first run; the error is kept by the document
    Lines runs;
  };
  const Row rows[] = {
      {kPause, ARB_OK, 0, 0, {"start", "continue"}},
      {451, ARB_OK, ARB_DOC_START_PENDING, 0, {"start", "start"}},
      {452, 452, ARB_DOC_ENDED, 0, {"start"}},
      {13, 13, 0, 13, {"start"}},
      {0xFFFFFFFF, 0xFFFFFFFF, 0, 0xFFFFFFFF, {"start"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.result);
    Host host;
    host.then([&] {
      EXPECT_EQ(ARB_DOC_RUNNING, host.document->flags);
      return row.result;
    });
    host.then([] { return kPause; });
    EXPECT_EQ(row.answer, ArbDocumentReadAhead(host.document));
    EXPECT_EQ(row.flags, host.document->flags);
    EXPECT_EQ(row.error, host.document->producerError);
    EXPECT_EQ(1u, host.document->runCount);
    EXPECT_EQ(row.answer, ArbDocumentReadAhead(host.document));
    EXPECT_EQ(row.runs, host.runs);
    EXPECT_EQ(row.runs.size(), host.document->runCount);
  }
}

TEST(ReadAhead, NodeBudgetIsFullAtThe4097thNode) {
  Host host;
  ArbTree* const tree = host.makeTree();
  host.then([&] {
    for (int i = 0; i < 4096; ++i) ok(ArbNodeDestroy(host.make(tree, "n")));
    EXPECT_EQ(0u, breakDue(host));
    ArbNode* none = nullptr;
    EXPECT_EQ(ARB_ERR_NOTFOUND, ArbTreeCreateNode(tree, elementId(kFirstUnmade), nullptr, &none));
    EXPECT_EQ(0u, breakDue(host)) << "a failed creation counts nothing";
    ok(ArbNodeDestroy(host.make(tree, "n")));
    EXPECT_EQ(1u, breakDue(host));
    return kPause;
  });
  host.then(findsDue(host, 0));
  run(host, 2);
}

TEST(ReadAhead, ChildBudgetIsFullAtThe33rdChild) {
  Host host;
  host.then([&] {
    for (int i = 0; i < 33; ++i) {
      EXPECT_EQ(0u, breakDue(host)) << i;
      if (i % 3 == 0) host.makeTree();
      if (i % 3 == 1) host.makeForest(host.document->rootForest);
      if (i % 3 == 2) ok(ArbFileDestroy(host.makeFile(u"gone")));
    }
    EXPECT_EQ(1u, breakDue(host));
    return kPause;
  });
  host.then(findsDue(host, 0));
  ok(ArbDocumentReadAhead(host.document));
  EXPECT_EQ(1u, breakDue(host)) << "until the next run begins";
  ok(ArbDocumentReadAhead(host.document));
}

TEST(ReadAhead, ByteBudgetIsFullWhenReached) {
  Host host;
  ArbNode* const root = rootOf(host.makeTree());
  const std::uint32_t element = sizeof(ElementNode);
  ok(ArbDocumentSetChunkBreakSize(host.document, 3 * element));
  host.then([&] {
    host.append(root, "a");
    host.append(root, "b");
    EXPECT_EQ(0u, breakDue(host));
    ok(ArbDocumentSetChunkBreakSize(host.document, 2 * element));
    EXPECT_EQ(1u, breakDue(host)) << "a new size takes effect at once";
    ok(ArbDocumentSetChunkBreakSize(host.document, 3 * element));
    host.append(root, "c");
    EXPECT_EQ(1u, breakDue(host));
    ok(ArbDocumentSetChunkBreakSize(host.document, 0));
    EXPECT_EQ(0u, breakDue(host)) << "0 switches the budget off";
    ok(ArbDocumentSetChunkBreakSize(host.document, 0xFFFFFFFFu));
    host.document->chunkBytes = 0xFFFFFFFFu - 1;
    host.append(root, "d");
    EXPECT_EQ(1u, breakDue(host)) << "more bytes than can be counted";
    return ARB_OK;
  });
  EXPECT_EQ(ARB_STATUS_END, ArbDocumentReadAhead(host.document));
}

TEST(ReadAhead, AForcedBreakHoldsToTheEndOfTheRun) {
  Host host;
  host.then([&] {
    EXPECT_EQ(0u, breakDue(host));
    ok(ArbDocumentForceBreak(host.document));
    EXPECT_EQ(1u, breakDue(host));
    EXPECT_EQ(1u, breakDue(host));
    return kPause;
  });
  host.then(findsDue(host, 0)).then(findsDue(host, 1)).then(findsDue(host, 0));
  run(host, 2);
  ok(ArbDocumentForceBreak(host.document));
  run(host, 2);
}

TEST(StatusCallback, IsAskedOnceAfterEveryRunThatAttachedANode) {
  for (const ArbStatus last : {ArbStatus{ARB_ERR_NOMEMORY}, ArbStatus{ARB_STATUS_END}}) {
    SCOPED_TRACE(last);
    StatusAnswer answer(0);
    Host host;
    ArbTree* const tree = host.makeTree();
    ArbNode* const root = rootOf(tree);
    const std::size_t before = answer.contexts().size();
    host.then([&] { return ArbNodeDestroy(host.make(tree, "not attached")), kPause; });
    host.then([&] { return host.append(root, "a"), host.append(root, "b"), kPause; });
    host.then([&] { return host.append(root, "c"), last; });
    ok(ArbDocumentReadAhead(host.document));
    EXPECT_EQ(before, answer.contexts().size());
    ok(ArbDocumentReadAhead(host.document));
    EXPECT_EQ(before + 1, answer.contexts().size());
    EXPECT_EQ(host.statusContext(), answer.contexts().back());
    EXPECT_EQ(last, ArbDocumentReadAhead(host.document));
    EXPECT_EQ(before + 2, answer.contexts().size());
    EXPECT_EQ(last, ArbDocumentReadAhead(host.document));
    EXPECT_EQ(before + 2, answer.contexts().size()) << "no run, no question";
  }
}

TEST(StatusCallback, OnlyTwentyAndThirtyTwoAbandonAndNothingIsLost) {
  for (const std::uint32_t status : {0u, 1u, 19u, 20u, 21u, 31u, 32u, 33u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(status);
    StatusAnswer answer(status);
    Host host;
    ArbNode* const root = rootOf(host.makeTree());
    host.then([&] { return host.append(root, "a"), kPause; });
    host.then([&] { return host.append(root, "b"), ArbNodeAllChildrenAttached(root); });
    const auto abandoned = bailOutOf([&] { ok(ArbNodeWaitAllChildrenAttached(root)); });
    EXPECT_EQ(status == 20 || status == 32, abandoned.has_value());
    if (abandoned) {
      EXPECT_EQ(20u, *abandoned);
      EXPECT_EQ(0u, host.document->flags);
      EXPECT_EQ(1u, host.document->runCount);
      EXPECT_EQ("root(a)", host.shape(root));
    }

    // The document goes on where it was left.
    answer.set(0);
    std::uint32_t count = 0;
    ok(ArbNodeWaitChildCount(root, &count));
    EXPECT_EQ(2u, count);
    EXPECT_EQ("root(a b)", host.shape(root));
    EXPECT_EQ((Lines{"start", "continue"}), host.runs);
  }
}

TEST(StatusCallback, ABailOutMayReturn) {
  Host host;
  ArbNode* const root = rootOf(host.makeTree());
  std::uint32_t calls = 0;
  const BaseHostFunctions functions{[](std::uint32_t, void*) -> std::uint32_t { return 32; },
                                    [](std::uint32_t code, std::uint32_t, void* count) {
                                      EXPECT_EQ(20u, code);
                                      ++*static_cast<std::uint32_t*>(count);
                                    },
                                    &calls};
  ok(BaseSetHostFunctions(host.statusContext(), &functions));
  host.then([&] { return host.append(root, "a"), kPause; });
  host.then([&] { return host.append(root, "b"), 4321u; });
  EXPECT_EQ(ARB_OK, ArbDocumentReadAhead(host.document));
  EXPECT_EQ(4321u, ArbDocumentReadAhead(host.document));
  EXPECT_EQ(2u, calls);
  ok(BaseSetHostFunctions(host.statusContext(), nullptr));
}

TEST(StatusCallback, AbandoningInsideASubtreeReleaseLeavesAReleasableTree) {
  StatusAnswer answer(20);
  const std::uint64_t elements = liveElements();
  Host host;
  ArbNode* const root = rootOf(host.makeTree());
  ArbNode* a = nullptr;
  host.then([&] { return a = host.append(root, "a"), host.append(a, "b"), kPause; });
  host.then([&] { return host.append(a, "c"), kPause; });
  host.then([&] { return ArbNodeProducerReleaseSubtree(root); });
  int abandoned = 0;
  while (abandoned < 10 && bailOutOf([&] { ok(ArbNodeConsumerReleaseSubtree(root)); })) ++abandoned;
  EXPECT_EQ(2, abandoned);
  EXPECT_TRUE(root->flags & ARB_NODE_CONSUMER_RELEASED);
  host.destroy();
  EXPECT_EQ(elements, liveElements());
}

}  // namespace
}  // namespace arbtree::test
