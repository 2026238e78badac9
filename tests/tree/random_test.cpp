// Random sequences of calls on one tree, compared call by call with a plain model of nodes, releases, events, cells,
// references and IDs. Functions of the host come and go meanwhile, so that the calls' observed and unobserved ways have
// to agree with the same model. In some sequences production is still open: then waits run a producer, whose runs are
// random calls in their turn, and no wait may run it for an answer that exists, or give up before it has ended. At
// times its last run fails: then so does the wait that made it, and every later one for what is not there.
//
// ARBTREE_SEQUENCES says how many sequences each test runs; ARBTREE_SEED=n runs a printed sequence first.
#include <bit>
#include <functional>
#include <random>
#include <sstream>
#include <tuple>

#include "arbtree/elemdefs.h"
#include "platform/heap.h"
#include "support/host.h"
#include "support/plain_tree.h"
#include "support/seed.h"

namespace arbtree::test {
namespace {

constexpr std::uint32_t kNamespace = 23;
constexpr std::uint32_t kKind = elementId(1, kNamespace), kTopKind = elementId(1, kNamespace, 3);
constexpr std::uint32_t kKinds[] = {
    kKind,           kKind,          kTopKind, ARB_ELEM_TEXT, ARB_ELEM_ENCODED_BYTES, ARB_ELEM_EXTERNAL_REFERENCE,
    ARB_ELEM_TEXT_3, ARB_ELEM_TEXT_4};
constexpr std::uint32_t kOtherIds[] = {ARB_ELEM_ROOT, 1, elementId(1, kNamespace + 1)};

// Nodes of another tree: a loose one, and one that is linked.
ArbNode* foreign[2];

// What the library told the host's functions since the last look.
std::vector<Happening> happened;

// What a function of the host returns and nobody may look at; the status of a run that fails.
constexpr std::uint32_t kIgnored = 13, kFailure = 14;

std::uint32_t ARB_CALL make(ArbTree*, std::uint32_t id, ArbNode** node) {
  static ArbNodeType kind{}, topKind{};
  ArbNodeType& type = id == kKind ? kind : topKind;
  type.elementId = id;
  happened.push_back({kMade, 0});
  *node = heap::allocateRecord<ArbNode>();
  (*node)->size = sizeof(ArbNode);
  (*node)->nodeType = &type;
  return kIgnored;
}
void note(std::uint32_t what, const ArbNode& node) {
  const ArbNode* const parent = resolve(node.parentCell);
  const ArbDocument& document = *node.tree->child.document;
  happened.push_back(
      {what, node.number, node.flags, parent ? parent->number : 0, document.chunkBytes, document.chunkNodes});
}
std::uint32_t ARB_CALL destroy(ArbNode* node) {
  std::uint32_t count = 0;
  EXPECT_EQ(ARB_OK, ElemDefsGetElementCount(node->tree->child.document->elemDefs, kNamespace, &count));
  happened.push_back({kDestroyed, node->number});
  heap::release(node, sizeof(ArbNode));
  return kIgnored;
}
std::uint32_t ARB_CALL onEvent(ArbDocument*, std::uint32_t event, void* node, void*) {
  note(event, *static_cast<ArbNode*>(node));
  return 0;
}
template <std::uint32_t Hook>
std::uint32_t ARB_CALL onHook(std::uintptr_t node, void*) {
  note(Hook, *reinterpret_cast<ArbNode*>(node));
  return kIgnored;
}

// How many references are made before anything else, and how many calls follow. Most sequences are short; some begin
// where an occupancy word is full, few where a block is.
struct Length {
  std::uint32_t references, calls, nodes;
};
Length lengthOf(std::uint32_t sequence) {
  if (sequence % 1000 == 999) return {4085, 200, 60};
  if (sequence % 50 == 49) return {sequence % 40, 300, 60};
  return {0, 30, 14};
}

class Sequence {
 public:
  Sequence(std::uint32_t seed, std::uint32_t mode, Length length)
      : random_(seed), length_(length), host_(mode), model_(mode == 1) {
    host_.stepsPerRun = 1;
    if (random_() % 2) runsToCome_ = static_cast<std::uint32_t>(random_() % 12);
    if (random_() % 4 == 0) host_.endResult = kFailure;
    host_.then([] { return ARB_OK; });  // nodes of all kinds can be made after the first run
    for (std::uint32_t i = 0; i < runsToCome_; ++i) host_.then([this] { return produce(); });
    EXPECT_EQ(hasEnded() ? host_.endResult : ARB_OK, ArbDocumentReadAhead(host_.document));
    for (const char16_t* const text : {u"a", u"b", u"c"}) {
      names_.push_back(nullptr);
      ok(ArbDocumentCreateString(host_.document, text, &names_.back()));
    }
    if (random_() % 4 == 0) host_.document->nodeCounter = model_.numbers = 0x9ABCDEF0;
    ok(ArbDocumentCreateTree(host_.document, nullptr, &tree_));
    ok(ArbTreeAddNodeFactory(tree_, kNamespace));
    ok(ArbForestAppendChild(host_.document->rootForest, asChild(tree_)));
    model_.createNode(rootOf(tree_), ARB_ELEM_ROOT, nullptr, nullptr);
    if (random_() % 2) toggleCallback(nullptr, nullptr);
    if (random_() % 4 == 0) toggleHooks(nullptr, nullptr);
    happened.clear();
    model_.happened.clear();
    for (std::uint32_t i = 0; i < length_.references; ++i) createReference(nullptr, nullptr);
  }

  // False when the library and the model differ; what() says where.
  bool run() {
    for (std::uint32_t i = 0; i < length_.calls && same_; ++i) {
      call();
      if (i % 4 == 3) compareNodes();
    }
    compareNodes();
    compareCells();
    if (same_) destroyAll();
    return same_;
  }
  std::string what() const { return what_.str(); }

 private:
  using Call = void (Sequence::*)(PlainNode* a, PlainNode* b);
  struct WeightedCall {
    const char* name;
    std::uint32_t weight;
    Call call;
    bool inRuns = false;  // runs make the call as well; they free nothing that a wait is about
  };
  static const WeightedCall kCalls[];
  using Drawn = std::vector<const WeightedCall*>;
  static Drawn drawn(bool inRuns);

  void call(bool inRun = false) {
    static const Drawn lists[] = {drawn(false), drawn(true)};
    const Drawn& list = lists[inRun];
    const WeightedCall& chosen = *list[random_() % list.size()];
    PlainNode* const a = model_.nodes[random_() % model_.nodes.size()].get();
    PlainNode* const b = model_.nodes[random_() % model_.nodes.size()].get();
    log_.emplace_back(chosen.name, a->number, b->number);
    (this->*chosen.call)(a, b);
    expect("what the host is told", model_.happened == happened);
    expect("nodes in the chunk", model_.chunkNodes == host_.document->chunkNodes);
    expect("bytes in the chunk", model_.chunkBytes == host_.document->chunkBytes);
    happened.clear();
    model_.happened.clear();
  }

  // --- the producer
  bool hasEnded() const { return runsToCome_ == 0; }
  ArbStatus produce() {
    expect("a run that was asked for", !isAnswered_ || !isAnswered_());
    model_.chunkNodes = model_.chunkBytes = 0;
    for (std::uint32_t calls = static_cast<std::uint32_t>(random_() % 4); calls > 0; --calls) call(true);
    --runsToCome_;  // the last one ends production
    return ARB_OK;
  }
  // The status of a wait for something that a run may bring. A run that fails ends it even when it brings the answer.
  template <typename Answered, typename Wait>
  ArbStatus waitFor(Answered isAnswered, Wait wait) {
    const bool wasAnswered = isAnswered();
    isAnswered_ = isAnswered;
    const ArbStatus status = wait();
    isAnswered_ = nullptr;
    expect("an answer", hasEnded() || isAnswered());
    failed_ = !wasAnswered && hasEnded() && host_.endResult == kFailure;
    return status;
  }
  void readAhead(PlainNode*, PlainNode*) {
    const std::uint32_t before = runsToCome_;
    const ArbStatus status = ArbDocumentReadAhead(host_.document);
    expect("one run", runsToCome_ + 1 == before || before == 0);
    expectStatus(hasEnded() ? host_.endResult : ARB_OK, status);
  }
  void waitForMarks(PlainNode* a, PlainNode*) {
    struct Row {
      ArbStatus(ARB_CALL* call)(ArbNode*);
      std::uint32_t marks;
    };
    static const Row rows[] = {{ArbNodeWaitAttributesDone, ARB_NODE_ATTRIBUTES_DONE},
                               {ArbNodeWaitAllChildrenAttached, ARB_NODE_CHILDREN_DONE},
                               {ArbNodeWaitProducerDone, ARB_NODE_ATTRIBUTES_DONE | ARB_NODE_CHILDREN_DONE}};
    const Row& row = rows[random_() % std::size(rows)];
    const auto isAnswered = [&] { return model_.producerOnly || (a->flags & row.marks) == row.marks; };
    expectWaited(waitFor(isAnswered, [&] { return row.call(a->real); }));
  }
  void expectWaited(ArbStatus status) {
    expectStatus(model_.producerOnly ? ARB_ERR_MODE : failed_ ? kFailure : ARB_OK, status);
  }

  void expect(const char* what, bool holds) {
    if (holds || !same_) return;
    same_ = false;
    what_ << "differs: " << what << "; the calls were";
    for (const auto& [call, a, b] : log_) what_ << "\n  " << call << " #" << a << " #" << b;
  }
  void expectStatus(ArbStatus model, ArbStatus library) {
    if (model != library && same_) what_ << "status " << library << " instead of " << model << ", ";
    expect("status", model == library);
  }

  // --- making
  PlainNode* make(std::uint32_t reference) {
    const bool referred = reference < pending_.size();
    ArbNodeRef* const cell = referred ? pending_[reference] : nullptr;
    const std::uint32_t kind = kKinds[random_() % std::size(kKinds)];
    ArbNode* node = nullptr;
    expectStatus(ARB_OK, ArbTreeCreateNode(tree_, kind, cell, &node));
    const Place place = cell ? placeOf(*tree_, cell) : Place{};
    PlainNode* const made = model_.createNode(node, kind, referred ? &place : nullptr, cell);
    if (referred) pending_.erase(pending_.begin() + static_cast<std::ptrdiff_t>(reference));
    setText(made, nullptr);
    held_.push_back(node->cell);
    compareNode(*made);
    return made;
  }
  std::uint32_t anyReference() { return static_cast<std::uint32_t>(random_() % (2 * pending_.size() + 1)); }
  void createNode(PlainNode*, PlainNode*) {
    if (model_.nodes.size() < length_.nodes) make(anyReference());
  }
  void createAndAppend(PlainNode* a, PlainNode*) {
    if (model_.nodes.size() < length_.nodes) append(a, make(anyReference()));
  }
  void setText(PlainNode* a, PlainNode*) {
    if (a->kind == kKind || a->kind == kTopKind || a->kind == ARB_ELEM_EXTERNAL_REFERENCE || a == model_.root()) return;
    const auto units = static_cast<std::uint32_t>(random_() % 6);
    expectStatus(ARB_OK, ArbAbstractTextNodeSetValue(a->real, u"text..", units));
    a->bytes = a->real->size + 2 * units;
  }

  // --- the producer's and the consumer's calls
  void append(PlainNode* a, PlainNode* b) {
    if (!b->contains(a)) expectStatus(model_.append(a, b), ArbNodeAppendChild(a->real, b->real));
  }
  void insert(PlainNode* a, PlainNode* b) {
    if (!b->contains(a)) expectStatus(model_.insert(a, b), ArbNodeInsertSiblingBefore(a->real, b->real));
  }
  void linkForeign(PlainNode* a, PlainNode*) {
    for (ArbNode* const node : foreign) {
      const bool linked = (node->flags & ARB_NODE_LINKED) != 0;
      const ArbStatus status = linked                           ? ARB_ERR_ATTACHED
                               : a->has(ARB_NODE_CHILDREN_DONE) ? ARB_ERR_CLOSED
                                                                : ARB_ERR_FOREIGN;
      expectStatus(status, ArbNodeAppendChild(a->real, node));
      expectStatus(model_.producerOnly ? status : ARB_ERR_MODE, ArbNodeInsertSiblingBefore(a->real, node));
    }
  }
  void remove(PlainNode* a, PlainNode*) {
    if (a != model_.root()) expectStatus(model_.remove(a), ArbNodeRemoveFromTree(a->real));
  }
  void transfer(PlainNode* a, PlainNode* b) {
    if (a == b || !a->contains(b)) expectStatus(model_.transfer(a, b), ArbNodeTransferChildren(a->real, b->real));
  }
  template <ArbStatus (PlainTree::*Model)(PlainNode*), ArbStatus(ARB_CALL* Library)(ArbNode*)>
  void simple(PlainNode* a, PlainNode*) {
    ArbNode* const real = a->real;
    expectStatus((model_.*Model)(a), Library(real));
  }
  // The model does it in one go, as only an ended production lets it be done.
  void consumerReleaseSubtree(PlainNode* a, PlainNode* b) {
    if (!(hasEnded() && host_.endResult == ARB_STATUS_END) && !model_.producerOnly) return;
    simple<&PlainTree::consumerReleaseSubtree, ArbNodeConsumerReleaseSubtree>(a, b);
  }
  void markSeparate(PlainNode* a, PlainNode*) {
    const ArbStatus status = model_.mark(a, ARB_NODE_SEPARATE_STREAM);
    expectStatus(status, ArbNodeSetSeparateStream(a->real));
    if (status != ARB_OK) return;
    expect("separate streams", tree_->separateStreamCount == ++separateStreams_ &&
                                   tree_->separateStreamCells[separateStreams_ - 1] == a->real->cell);
  }
  void markSkip(PlainNode* a, PlainNode*) {
    expectStatus(model_.mark(a, ARB_NODE_SKIP_IF_EMPTY), ArbNodeSetSkipIfEmpty(a->real));
  }
  // It goes with the node; what can be read from it is another test's (tests/tree/metadata_test.cpp).
  void setMetadata(PlainNode* a, PlainNode*) {
    const auto key = static_cast<std::uint32_t>(random_() % 3), size = static_cast<std::uint32_t>(random_() % 11);
    expectStatus(ARB_OK, ArbNodeSetMetadata(a->real, key, "0123456789", size));
  }

  // --- references and IDs
  ArbString* anyName() { return names_[random_() % names_.size()]; }
  void createReference(PlainNode*, PlainNode*) {
    ArbString* const name = random_() % 2 ? anyName() : nullptr;
    ArbNodeRef* cell = nullptr;
    expectStatus(ARB_OK, name ? ArbTreeCreateNamedNodeReference(tree_, name, &cell)
                              : ArbTreeCreateFloatingNodeReference(tree_, &cell));
    const auto binding = model_.bound.find(name);
    const bool old = binding != model_.bound.end();
    expect("a reference's cell", placeOf(*tree_, cell) == (old ? binding->second : model_.createReference(cell, name)));
    if (!old) pending_.push_back(cell);
    held_.push_back(cell);
  }
  void createId(PlainNode* a, PlainNode*) { expectStatus(model_.createId(a), ArbNodeCreateID(a->real)); }
  void setIdString(PlainNode* a, PlainNode*) {
    ArbString* const name = anyName();
    expectStatus(model_.setIdString(a, name), ArbNodeSetIDString(a->real, name));
  }
  void readReference(PlainNode*, PlainNode*) {
    if (held_.empty()) return;
    ArbNodeRef* const cell = held_[random_() % held_.size()];
    const Place place = placeOf(*tree_, cell);
    PlainNode* node = model_.nodeAt(place);
    ArbNode* read = nullptr;
    expectStatus(node ? ARB_OK : ARB_ERR_NOTREADY, ArbNodeRefQueryNode(cell, &read));
    expect("a reference's node", read == (node ? node->real : nullptr));
    for (const bool wait : {false, true}) {
      if (random_() % 2) readName(cell, place, wait);
    }
    expectWaited(waitFor([&] { return model_.producerOnly || model_.nodeAt(place); },
                         [&] { return ArbNodeRefWaitNode(cell, host_.document, &read); }));
    node = model_.nodeAt(place);
    expect("a reference's node", read == (node && !model_.producerOnly ? node->real : nullptr));
  }
  // A node that exists gets a name, also when a run fails on the way to its attributes.
  void readName(ArbNodeRef* cell, Place place, bool wait) {
    const bool named = model_.at(place).state == ARB_REF_NAMED;
    bool existed = false;  // before the last run
    const auto isKnown = [&] {
      const PlainNode* const node = model_.nodeAt(place);
      existed = node != nullptr;
      return named || (node && node->has(ARB_NODE_ATTRIBUTES_DONE));
    };
    ArbString* name = nullptr;
    const ArbStatus status = waitFor([&] { return !wait || model_.producerOnly || isKnown(); },
                                     [&] {
                                       return wait ? ArbNodeRefWaitIdString(cell, host_.document, &name)
                                                   : ArbNodeRefQueryIdString(cell, &name);
                                     });
    failed_ &= !existed;
    PlainNode* const node = model_.nodeAt(place);
    wait ? expectWaited(status) : expectStatus(isKnown() ? ARB_OK : ARB_ERR_NOTREADY, status);
    const bool told = wait ? !model_.producerOnly && !failed_ && (named || node) : isKnown();
    if (told && node && !node->idString) return expectGenerated(*node, name);
    expect("a reference's name", name == (!told ? nullptr : node ? node->idString : nameAt(place)));
  }
  ArbString* nameAt(Place place) { return reinterpret_cast<ArbString*>(model_.at(place).value); }
  void expectGenerated(PlainNode& node, ArbString* name) {
    std::ostringstream text;
    text << "ID" << std::hex << node.number;
    const std::u16string read = name->text;
    expect("a generated name", text.str() == std::string(read.begin(), read.end()));
    model_.bind(&node, name);
    names_.push_back(name);
  }

  // --- the consumer's steps
  using Step = ArbStatus(ARB_CALL*)(ArbNode*, ArbNode**);
  using Search = ArbStatus(ARB_CALL*)(ArbNode*, std::uint32_t, ArbNode**);
  // Nothing that production may still bring changes the answer.
  bool isSettled(Relative to, const PlainNode* from) const {
    return to == Relative::kParent || to == Relative::kPrevSibling ||
           model_.step(to, false, from).status != ARB_ERR_NOTREADY;
  }
  void navigate(PlainNode* a, PlainNode*) {
    using R = Relative;
    struct Row {
      Step call;
      R to;
      bool wait;
    };
    static const Row rows[] = {
        {ArbNodeQueryFirstChild, R::kFirstChild, false},   {ArbNodeWaitFirstChild, R::kFirstChild, true},
        {ArbNodeQueryLastChild, R::kLastChild, false},     {ArbNodeWaitLastChild, R::kLastChild, true},
        {ArbNodeQueryNextSibling, R::kNextSibling, false}, {ArbNodeWaitNextSibling, R::kNextSibling, true},
        {ArbNodeWaitPrevSibling, R::kPrevSibling, true},   {ArbNodeWaitParent, R::kParent, true}};
    for (const Row& row : rows) {
      ArbNode* result = untouchedNode();
      const auto isAnswered = [&] { return !row.wait || isSettled(row.to, a); };
      const ArbStatus status = waitFor(isAnswered, [&] { return row.call(a->real, &result); });
      expectAnswer(failed_ ? Answer{kFailure} : model_.step(row.to, row.wait, a), status, result);
    }
    for (const bool wait : {false, true}) {
      std::uint32_t count = 77;
      const auto isAnswered = [&] { return !wait || isSettled(R::kLastChild, a); };
      const auto call = wait ? ArbNodeWaitChildCount : ArbNodeQueryChildCount;
      const ArbStatus answer = waitFor(isAnswered, [&] { return call(a->real, &count); });
      const ArbStatus status = failed_ ? kFailure : model_.step(R::kLastChild, wait, a).status;
      expectStatus(status, answer);
      const bool counted =
          wait ? a->has(ARB_NODE_CHILDREN_DONE) && status == ARB_OK : status == ARB_OK || status == ARB_ERR_NOTREADY;
      expect("child count", count == (counted ? a->count : 0));
    }
  }
  // Often one position; at times so many that the stack gets full or empty.
  std::uint32_t howMany() { return random_() % 3 ? 1 : 70; }
  void pushCursors(PlainNode* a, PlainNode*) {
    const PlainNode* const node = random_() % 8 ? a : nullptr;
    for (std::uint32_t i = howMany(); i > 0; --i) {
      expectStatus(model_.pushCursor(node), ArbTreePushCursor(tree_, node ? node->real : nullptr));
    }
    expect("depth of the cursors", model_.cursorDepth == tree_->cursorDepth);
  }
  void popCursors(PlainNode*, PlainNode*) {
    for (std::uint32_t i = howMany(); i > 0; --i) {
      ArbNode* result = untouchedNode();
      const ArbStatus status =
          waitFor([&] { return model_.isCursorKnown(); }, [&] { return ArbTreePopCursor(tree_, &result); });
      Answer answer = model_.popCursor();
      if (failed_) answer.status = kFailure;
      expectAnswer(answer, status, result);
    }
    expect("depth of the cursors", model_.cursorDepth == tree_->cursorDepth);
  }
  void search(PlainNode* a, PlainNode*) {
    using R = Relative;
    struct Row {
      Search call;
      R first, next;
      char form;
    };
    static const Row rows[] = {{ArbNodeGetFirstChildByElementId, R::kFirstChild, R::kNextSibling, 'g'},
                               {ArbNodeGetNextSiblingByElementId, R::kNextSibling, R::kNextSibling, 'g'},
                               {ArbNodeGetAncestorByElementId, R::kParent, R::kParent, 'g'},
                               {ArbNodeQueryFirstChildByElementId, R::kFirstChild, R::kNextSibling, 'q'},
                               {ArbNodeWaitFirstChildByElementId, R::kFirstChild, R::kNextSibling, 'w'},
                               {ArbNodeWaitNextSiblingByElementId, R::kNextSibling, R::kNextSibling, 'w'},
                               {ArbNodeWaitAncestorByElementId, R::kParent, R::kParent, 'w'}};
    const std::uint32_t id =
        random_() % 4 ? kKinds[random_() % std::size(kKinds)] : kOtherIds[random_() % std::size(kOtherIds)];
    for (const Row& row : rows) {
      ArbNode* result = untouchedNode();
      const auto isAnswered = [&] {
        return row.form != 'w' || row.first == R::kParent ||
               model_.search(row.first, row.next, false, a, id).status != ARB_ERR_NOTREADY;
      };
      const ArbStatus status = waitFor(isAnswered, [&] { return row.call(a->real, id, &result); });
      Answer answer = row.form == 'g' ? PlainTree::get(row.first, row.next, a, id)
                                      : model_.search(row.first, row.next, row.form == 'w', a, id);
      if (failed_) answer = {kFailure};
      if (row.call == ArbNodeWaitAncestorByElementId) answer.written = true;
      expectAnswer(answer, status, result);
    }
  }
  void expectAnswer(const Answer& answer, ArbStatus status, const ArbNode* result) {
    expectStatus(answer.status, status);
    expect("a step's result", result == (answer.written ? realOf(answer.node) : untouchedNode()));
  }

  // --- who is told
  void toggleCallback(PlainNode*, PlainNode*) {
    model_.callback = !model_.callback;
    expectStatus(ARB_OK, model_.callback ? ArbDocumentRegisterCallback(host_.document, onEvent, nullptr)
                                         : ArbDocumentUnregisterCallback(host_.document, onEvent));
  }
  void toggleHooks(PlainNode*, PlainNode*) {
    if (!model_.hooked.empty()) {
      expectStatus(ARB_OK, ArbTreeClearProducerNodeHooks(tree_));
      model_.hooked.clear();
    } else {
      model_.hooked = {ARB_ELEM_TEXT, kKind};
      for (const std::uint32_t kind : model_.hooked) {
        ArbTreeSetProducerNodeHook(tree_, ARB_HOOK_ATTRIBUTES_DONE, kind, onHook<kAttributesHook>, nullptr);
        ArbTreeSetProducerNodeHook(tree_, ARB_HOOK_PRODUCER_RELEASE, kind, onHook<kReleaseHook>, nullptr);
      }
    }
  }

  // --- comparing
  static const ArbNode* realOf(const PlainNode* node) { return node ? node->real : nullptr; }
  void compareNode(const PlainNode& node) {
    const ArbNode& real = *node.real;
    constexpr std::uint32_t kMarks = ARB_NODE_SEPARATE_STREAM | ARB_NODE_SKIP_IF_EMPTY | ARB_NODE_FREEING;
    const auto& list = node.children;
    expect("number", node.number == real.number);
    expect("cell", node.cell == placeOf(*tree_, real.cell) && resolve(real.cell) == &real);
    expect("flags", node.flags == real.flags);
    expect("marks", node.marks == (real.flags2 & kMarks));
    expect("ID string", node.idString == real.idString);
    expect("parent", realOf(node.parent) == resolve(real.parentCell));
    expect("first child", (list.empty() ? nullptr : list.front()->real) == resolve(real.firstChildCell));
    expect("last child", (list.empty() ? nullptr : list.back()->real) == resolve(real.lastChildCell));
    expect("children", node.count == real.childCount && node.freed == real.freedChildCount);
    const PlainNode* previous = nullptr;
    for (const PlainNode* const child : list) {
      expect("previous sibling", realOf(previous) == resolve(child->real->prevSiblingCell));
      if (previous) expect("next sibling", child->real == resolve(previous->real->nextSiblingCell));
      previous = child;
    }
    if (previous) expect("next sibling", !previous->real->nextSiblingCell);
  }
  void compareNodes() {
    for (const auto& node : model_.nodes) compareNode(*node);
  }
  void compareCells() {
    for (std::size_t b = 0; b < model_.cells.size(); ++b) {
      for (std::size_t i = 0; i < model_.cells[b].size(); ++i) {
        const ArbNodeRef& real = tree_->cellBlocks[b]->cells[i];
        expect("state of a cell", model_.cells[b][i].state == real.state && model_.cells[b][i].value == real.value);
      }
    }
    expect("blocks of cells", model_.cells.size() == tree_->cellBlockCount);
    const std::size_t pending = model_.slots.size();
    expect("capacity", tree_->pendingRefCapacity == (pending ? std::max(std::bit_ceil(pending), std::size_t{256}) : 0));
    expect("pending references", model_.slots.size() == tree_->pendingRefCount &&
                                     std::equal(model_.slots.begin(), model_.slots.end(), tree_->pendingRefs));
  }

  // What is not below the root is its maker's to destroy.
  void destroyAll() {
    for (std::size_t i = model_.nodes.size(); i-- > 1;) {
      if (i >= model_.nodes.size() || model_.nodes[i]->has(ARB_NODE_LINKED)) continue;
      simple<&PlainTree::destroy, ArbNodeDestroy>(model_.nodes[i].get(), nullptr);
    }
    host_.destroy();
  }

  std::mt19937 random_;
  const Length length_;
  Host host_;
  ArbTree* tree_ = nullptr;
  PlainTree model_;
  std::vector<ArbString*> names_;
  std::vector<ArbNodeRef*> pending_;                                        // references without a node
  std::vector<ArbNodeRef*> held_;                                           // cells that a host may still look at
  std::vector<std::tuple<const char*, std::uint32_t, std::uint32_t>> log_;  // the calls and their nodes
  std::uint32_t separateStreams_ = 0;
  std::uint32_t runsToCome_ = 0;
  std::function<bool()> isAnswered_;  // of the wait in progress
  bool failed_ = false;               // the last wait ended in the producer's failure
  bool same_ = true;
  std::ostringstream what_;
};

const Sequence::WeightedCall Sequence::kCalls[] = {
    {"create", 2, &Sequence::createNode, true},
    {"create and append", 8, &Sequence::createAndAppend, true},
    {"set text", 1, &Sequence::setText, true},
    {"append", 3, &Sequence::append, true},
    {"insert", 3, &Sequence::insert},
    {"link foreign", 1, &Sequence::linkForeign},
    {"remove", 2, &Sequence::remove},
    {"transfer", 2, &Sequence::transfer},
    {"destroy", 1, &Sequence::simple<&PlainTree::destroy, ArbNodeDestroy>},
    {"attributes done", 1, &Sequence::simple<&PlainTree::attributesDone, ArbNodeAttributesDone>, true},
    {"children attached", 1, &Sequence::simple<&PlainTree::allChildrenAttached, ArbNodeAllChildrenAttached>, true},
    {"producer done", 1, &Sequence::simple<&PlainTree::producerDone, ArbNodeProducerDone>, true},
    {"producer done subtree", 1, &Sequence::simple<&PlainTree::producerDoneSubtree, ArbNodeProducerDoneSubtree>, true},
    {"producer release", 3, &Sequence::simple<&PlainTree::producerRelease, ArbNodeProducerRelease>},
    {"producer release subtree", 1,
     &Sequence::simple<&PlainTree::producerReleaseSubtree, ArbNodeProducerReleaseSubtree>},
    {"consumer release", 3, &Sequence::simple<&PlainTree::consumerRelease, ArbNodeConsumerRelease>},
    {"consumer release subtree", 1, &Sequence::consumerReleaseSubtree},
    {"mark separate", 1, &Sequence::markSeparate, true},
    {"mark skip", 1, &Sequence::markSkip, true},
    {"metadata", 2, &Sequence::setMetadata, true},
    {"create reference", 2, &Sequence::createReference, true},
    {"create ID", 1, &Sequence::createId, true},
    {"set ID string", 1, &Sequence::setIdString, true},
    {"read reference", 2, &Sequence::readReference},
    {"navigate", 2, &Sequence::navigate},
    {"search", 2, &Sequence::search},
    {"push cursors", 1, &Sequence::pushCursors},
    {"pop cursors", 1, &Sequence::popCursors},
    {"read ahead", 1, &Sequence::readAhead},
    {"wait for marks", 2, &Sequence::waitForMarks},
    {"toggle callback", 1, &Sequence::toggleCallback},
    {"toggle hooks", 1, &Sequence::toggleHooks},
};

// Each call as often as its weight says.
Sequence::Drawn Sequence::drawn(bool inRuns) {
  Drawn list;
  for (const WeightedCall& call : kCalls) {
    if (call.inRuns || !inRuns) list.insert(list.end(), call.weight, &call);
  }
  return list;
}

void runSequences(std::uint32_t mode) {
  static const std::uint32_t registered = ElemDefsRegisterNamespace(kNamespace, make, destroy, 1);
  ASSERT_EQ(ARB_OK, registered);
  Host elsewhere(mode);
  ArbNode* const otherRoot = rootOf(elsewhere.makeTree());
  foreign[0] = elsewhere.make(otherRoot->tree, "loose");
  foreign[1] = elsewhere.append(otherRoot, "linked");
  const char* const given = std::getenv("ARBTREE_SEQUENCES");
  const unsigned long count = given ? std::strtoul(given, nullptr, 0) : 60'000;
  ASSERT_LT(0u, count) << "ARBTREE_SEQUENCES is no number";
  const std::uint32_t seed = testSeed();
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint64_t blocks = heap::testing::liveBlocks();
    {
      Sequence sequence(seed + i, mode, lengthOf(seed + i));
      ASSERT_TRUE(sequence.run()) << "run it first with ARBTREE_SEED=" << seed + i << ": " << sequence.what();
    }
    ASSERT_EQ(blocks, heap::testing::liveBlocks()) << "blocks of the heap, ARBTREE_SEED=" << seed + i;
  }
  ok(ArbNodeDestroy(foreign[0]));
}

TEST(Random, CallsWithAConsumerAgreeWithAPlainTree) { runSequences(0); }
TEST(Random, CallsWithoutAConsumerAgreeWithAPlainTree) { runSequences(1); }

}  // namespace
}  // namespace arbtree::test
