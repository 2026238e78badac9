// Random calls on the forests, trees and files of a document, compared with a plain model: the checks of the producer's
// and the consumer's calls, navigation, release by either side, and destruction. In some sequences production is still
// open: then waits run a producer, whose runs make more of the calls; the last one may fail.
#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "platform/heap.h"
#include "support/host.h"
#include "support/seed.h"

namespace arbtree::test {
namespace {

constexpr std::uint32_t kAttached = ARB_CHILD_ATTACHED, kClosed = ARB_CHILD_CLOSED, kDone = ARB_CHILD_PRODUCER_DONE,
                        kProducer = ARB_CHILD_PRODUCER_RELEASED, kConsumer = ARB_CHILD_CONSUMER_RELEASED;
constexpr ArbStatus kFailure = 14;  // of a run

struct PlainChild {
  ArbForestChild* real;
  std::uint32_t format, flags = 0, archiveType = 1, count = 0;
  PlainChild* parent = nullptr;
  std::vector<PlainChild*> children{};

  bool has(std::uint32_t flag) const { return (flags & flag) != 0; }
  bool isForest() const { return real->kind == ARB_CHILD_FOREST; }
  ArbForest* forest() const { return reinterpret_cast<ArbForest*>(real); }
  bool isWithin(const PlainChild* other) const { return this == other || (parent && parent->isWithin(other)); }
  ArbForestChild* sibling(std::ptrdiff_t distance) const {
    if (!parent) return nullptr;
    const auto& list = parent->children;
    const auto at = static_cast<std::size_t>(std::find(list.begin(), list.end(), this) - list.begin() + distance);
    return at < list.size() ? list[at]->real : nullptr;
  }
  ArbForestChild* first() const { return children.empty() ? nullptr : children.front()->real; }
  ArbForestChild* last() const { return children.empty() ? nullptr : children.back()->real; }
};

class Forests {
 public:
  Forests(std::uint32_t seed, std::uint32_t mode) : random_(seed), producerOnly_(mode == 1), host_(mode) {
    if (below(3) == 0) host_.endResult = kFailure;
    runsToCome_ = 1 + below(4);
    host_.stepsPerRun = 1;
    for (std::uint32_t i = 0; i < runsToCome_; ++i) host_.then([this] { return produce(); });
    enter(asChild(host_.document->rootForest), 1998);
    root().flags = kAttached;
    root().archiveType = 0;
  }
  void run() {
    for (int calls = 0; calls < 60 && !testing::Test::HasFailure(); ++calls) {
      call(false);
      compare();
    }
    // What is in no forest is its maker's to destroy.
    for (std::size_t i = children_.size(); i-- > 1;) {
      if (i < children_.size() && !children_[i]->parent) destroy(root(), *children_[i]);
    }
    host_.destroy();
  }

 private:
  using Call = void (Forests::*)(PlainChild& forest, PlainChild& child);
  void call(bool inRun) {
    using F = Forests;
    static constexpr Call kInRuns[] = {&F::create, &F::append, &F::close, &F::setArchiveType, &F::done};
    static constexpr Call kOthers[] = {&F::append,          &F::navigate,        &F::producerRelease,
                                       &F::producerSubtree, &F::consumerRelease, &F::consumerSubtree,
                                       &F::destroy};
    const std::size_t at = below(std::size(kInRuns) + (inRun ? 0 : std::size(kOthers)));
    const Call chosen = at < std::size(kInRuns) ? kInRuns[at] : kOthers[at - std::size(kInRuns)];
    PlainChild* forest = nullptr;
    while (!forest || !forest->isForest()) forest = children_[below(children_.size())].get();
    (this->*chosen)(*forest, *children_[below(children_.size())]);
  }
  std::uint32_t below(std::size_t count) { return static_cast<std::uint32_t>(random_() % count); }
  PlainChild& root() { return *children_.front(); }

  // --- the producer
  bool hasEnded() const { return runsToCome_ == 0; }
  ArbStatus produce() {
    EXPECT_TRUE(!isKnown_ || !isKnown_()) << "a run that nobody needs";
    for (std::uint32_t calls = below(3); calls > 0; --calls) call(true);
    --runsToCome_;  // the last one ends production
    return ARB_OK;
  }
  void enter(ArbForestChild* real, std::uint32_t format) {
    children_.push_back(std::make_unique<PlainChild>(PlainChild{real, format}));
    ok(ArbForestChildSetMetadata(real, 1, "0123456789", 10));
  }
  void create(PlainChild&, PlainChild&) {
    if (children_.size() >= 12) return;
    if (below(2)) return enter(asChild(host_.makeForest(nullptr)), 1998);
    if (below(2)) return enter(asChild(host_.makeFile(u"file")), 7);
    ArbTree* tree = nullptr;
    ok(ArbDocumentCreateTree(host_.document, nullptr, &tree));
    host_.append(rootOf(tree), "t", ARB_ELEM_TEXT);
    ok(ArbNodeProducerDoneSubtree(rootOf(tree)));
    enter(asChild(tree), 1150);
  }
  void append(PlainChild& forest, PlainChild& child) {
    if (child.parent || &child == &root() || forest.isWithin(&child)) return;
    const ArbStatus status = forest.has(kProducer) ? ARB_ERR_RELEASED : forest.has(kClosed) ? ARB_ERR_CLOSED : ARB_OK;
    EXPECT_EQ(status, ArbForestAppendChild(forest.forest(), child.real));
    if (status != ARB_OK) return;
    forest.children.push_back(&child);
    ++forest.count;
    child.parent = &forest;
    child.flags |= kAttached;
  }
  void close(PlainChild& forest, PlainChild&) {
    EXPECT_EQ(forest.has(kProducer) ? ARB_ERR_RELEASED : ARB_OK, ArbForestAllChildrenAttached(forest.forest()));
    if (!forest.has(kProducer)) forest.flags |= kClosed;
  }
  void setArchiveType(PlainChild& forest, PlainChild&) {
    const std::uint32_t type = below(6);
    const ArbStatus status = forest.has(kProducer) ? ARB_ERR_RELEASED : forest.has(kDone) ? ARB_ERR_LOCKED : ARB_OK;
    const bool isRefused = status != ARB_OK || type == 0;
    EXPECT_EQ(isRefused && status == ARB_OK ? ARB_ERR_BADARG : status, ArbForestSetArchiveType(forest.forest(), type));
    if (isRefused) return;
    forest.archiveType = type;
    if (type <= 3) forest.format = type == 1 ? 1998 : 1802;
  }
  static ArbStatus give(PlainChild& child, std::uint32_t flags) {
    if (child.has(kProducer)) return ARB_ERR_RELEASED;
    if (!child.has(kAttached)) return ARB_ERR_DETACHED;
    child.flags |= flags;
    return ARB_OK;
  }
  void done(PlainChild&, PlainChild& child) {
    EXPECT_EQ(give(child, kClosed | kDone), ArbForestChildProducerDone(child.real));
  }
  void producerRelease(PlainChild&, PlainChild& child) {
    EXPECT_EQ(give(child, kClosed | kDone | kProducer), ArbForestChildProducerRelease(child.real));
  }
  // A refusal of the forest's own release is not part of the answer.
  static ArbStatus releaseAsProducer(PlainChild& child) {
    if (child.has(kProducer)) return ARB_ERR_RELEASED;
    for (PlainChild* const below : child.children) releaseAsProducer(*below);
    give(child, kClosed | kDone | kProducer);
    return ARB_OK;
  }
  void producerSubtree(PlainChild& forest, PlainChild&) {
    EXPECT_EQ(releaseAsProducer(forest), ArbForestProducerReleaseSubtree(forest.forest()));
  }

  // --- the consumer
  ArbStatus refusalOf(const PlainChild& child) const {
    return producerOnly_ ? ARB_ERR_MODE : child.has(kConsumer) ? ARB_ERR_RELEASED : ARB_OK;
  }
  // Goes on where something is refused, but not into a forest that refuses.
  ArbStatus releaseAsConsumer(PlainChild& child) {
    ArbStatus status = refusalOf(child);
    if (status != ARB_OK) return status;
    for (PlainChild* const below : child.children) status = std::max(status, releaseAsConsumer(*below));
    child.flags |= kConsumer;
    return status;
  }
  void consumerRelease(PlainChild&, PlainChild& child) {
    const ArbStatus status = refusalOf(child);
    EXPECT_EQ(status, ArbForestChildConsumerRelease(child.real));
    if (status == ARB_OK) child.flags |= kConsumer;
  }
  void consumerSubtree(PlainChild& forest, PlainChild&) {
    EXPECT_EQ(releaseAsConsumer(forest), ArbForestConsumerReleaseSubtree(forest.forest()));
  }
  // A question whose answer a run may bring, unless it is refused.
  template <typename Question>
  ArbStatus ask(bool wait, ArbStatus refusal, const std::function<bool()>& isKnown, Question question) {
    const bool wasKnown = refusal != ARB_OK || isKnown();
    isKnown_ = [&] { return !wait || wasKnown || isKnown(); };
    const ArbStatus status = question();
    isKnown_ = nullptr;
    const bool failed = hasEnded() && host_.endResult == kFailure;
    const ArbStatus unknown = !wait ? ARB_ERR_NOTREADY : failed ? kFailure : ARB_OK;
    EXPECT_EQ(refusal != ARB_OK ? refusal : wasKnown ? ARB_OK : unknown, status);
    EXPECT_TRUE(!wait || wasKnown || hasEnded() || isKnown());
    return status;
  }
  void navigate(PlainChild& f, PlainChild& child) {
    const ArbStatus refusal = refusalOf(f), siblingsRefusal = producerOnly_ ? ARB_ERR_MODE : ARB_OK;
    const auto isClosed = [&] { return f.has(kClosed); };
    const auto hasFirst = [&] { return f.has(kClosed) || f.first(); };
    const auto hasNext = [&] { return !child.parent || child.parent->has(kClosed) || child.sibling(1); };
    for (const bool wait : {false, true}) {
      const auto counting = wait ? ArbForestWaitChildCount : ArbForestQueryChildCount;
      const auto toFirst = wait ? ArbForestWaitFirstChild : ArbForestQueryFirstChild;
      const auto toLast = wait ? ArbForestWaitLastChild : ArbForestQueryLastChild;
      const auto toNext = wait ? ArbForestChildWaitNextSibling : ArbForestChildQueryNextSibling;
      ArbForestChild untouched{};
      ArbForestChild *first = &untouched, *last = &untouched, *next = &untouched, *previous = &untouched;
      std::uint32_t count = 77;
      ArbStatus status = ask(wait, refusal, hasFirst, [&] { return toFirst(f.forest(), &first); });
      EXPECT_EQ(status == ARB_OK ? f.first() : nullptr, first);
      status = ask(wait, siblingsRefusal, hasNext, [&] { return toNext(child.real, &next); });
      EXPECT_EQ(status == ARB_OK ? child.sibling(1) : nullptr, next);
      status = ask(wait, refusal, isClosed, [&] { return toLast(f.forest(), &last); });
      EXPECT_EQ(status == ARB_OK ? f.last() : nullptr, last);
      status = ask(wait, refusal, isClosed, [&] { return counting(f.forest(), &count); });
      EXPECT_EQ(status == ARB_OK && isClosed() ? f.count : 0, count);
      EXPECT_EQ(siblingsRefusal, ArbForestChildWaitPrevSibling(child.real, &previous));
      EXPECT_EQ(siblingsRefusal ? &untouched : child.sibling(-1), previous);
    }
    EXPECT_EQ(ArbForestQueryLastChild(f.forest(), nullptr), ArbForestQueryChildCount(f.forest(), nullptr));
    ask(true, refusal, isClosed, [&] { return ArbForestWaitAllChildrenAttached(f.forest()); });
  }

  // A forest still counts those that are gone.
  void destroy(PlainChild&, PlainChild& child) {
    if (&child == &root()) return;
    if (child.parent) std::erase(child.parent->children, &child);
    if (child.isForest()) {
      ok(ArbForestDestroy(child.forest()));
    } else if (child.real->kind == ARB_CHILD_FILE) {
      ok(ArbFileDestroy(reinterpret_cast<ArbFile*>(child.real)));
    } else {
      ok(ArbTreeDestroy(reinterpret_cast<ArbTree*>(child.real)));
    }
    forget(child);
  }
  void forget(PlainChild& child) {
    for (PlainChild* const below : child.children) forget(*below);
    std::erase_if(children_, [&](const auto& each) { return each.get() == &child; });
  }

  void compare() {
    for (const auto& child : children_) {
      const ArbForestChild& real = *child->real;
      EXPECT_EQ(child->flags, real.flags);
      EXPECT_EQ(child->format, real.formatId);
      EXPECT_EQ(child->parent ? child->parent->forest() : nullptr, real.parent);
      EXPECT_EQ(child->sibling(1), real.nextSibling);
      EXPECT_EQ(child->sibling(-1), real.prevSibling);
      if (child->isForest()) {
        EXPECT_EQ(child->first(), child->forest()->firstChild);
        EXPECT_EQ(child->last(), child->forest()->lastChild);
        EXPECT_EQ(child->count, child->forest()->childCount);
        EXPECT_EQ(child->archiveType, child->forest()->archiveType);
      } else if (real.kind == ARB_CHILD_TREE) {
        // Its root's child goes when both sides have released it.
        const ArbNode* const top = rootOf(reinterpret_cast<ArbTree*>(child->real));
        EXPECT_EQ(child->has(kProducer), (top->flags & ARB_NODE_PRODUCER_RELEASED) != 0);
        EXPECT_EQ(child->has(kConsumer), (top->flags & ARB_NODE_CONSUMER_RELEASED) != 0);
        EXPECT_EQ(child->has(kProducer) && (producerOnly_ || child->has(kConsumer)), top->freedChildCount == 1);
      }
    }
  }

  std::mt19937 random_;
  const bool producerOnly_;
  Host host_;
  std::uint32_t runsToCome_ = 0;
  std::vector<std::unique_ptr<PlainChild>> children_;  // the living ones; the root forest is the first
  std::function<bool()> isKnown_;                      // of the question in progress
};

TEST(ForestCalls, AnyCallsAgreeWithAPlainModel) {
  const std::uint32_t seed = testSeed();
  for (std::uint32_t i = 0; i < 4000 && !HasFailure(); ++i) {
    SCOPED_TRACE(testing::Message() << "run it first with ARBTREE_SEED=" << seed + i);
    const std::uint64_t blocks = heap::testing::liveBlocks();
    Forests(seed + i, (seed + i) % 2).run();
    EXPECT_EQ(blocks, heap::testing::liveBlocks());
  }
}

}  // namespace
}  // namespace arbtree::test
