// The input drives the calls of the public interface on one document, those of the producer's runs included: a call's
// number, then what it needs. A node is only looked at through its cell, which tells whether it is alive.
//
// What the library does not check is kept: no cycle is made, no root removed, no child document destroyed and no node
// moved or destroyed under a wait, and the consumer leaves nodes alone that are not in the tree or that it released.
#include <iterator>
#include <stdexcept>

#include "arbtree/arbtree.h"
#include "arbtree/elemdefs.h"
#include "fuzz.h"
#include "platform/heap.h"

namespace arbtree::fuzz {
namespace {

constexpr std::uint32_t kNamespace = 33, kKind = kNamespace << 14 | 1;
constexpr std::size_t kMostNodes = 64, kMostChildren = 12;

ArbNode* resolve(const ArbNodeRef* cell) {
  return cell && cell->state == ARB_REF_NODE ? reinterpret_cast<ArbNode*>(cell->value) : nullptr;
}
bool has(const ArbNode& node, std::uint32_t flags) { return (node.flags & flags) == flags; }
ArbTree* asTree(ArbForestChild* child) { return reinterpret_cast<ArbTree*>(child); }
ArbForest* asForest(ArbForestChild* child) { return reinterpret_cast<ArbForest*>(child); }

std::int64_t elements = 0;  // nodes of kKind made and not destroyed

std::uint32_t ARB_CALL makeElement(ArbTree*, std::uint32_t id, ArbNode** node) {
  static const ArbNodeType type = [] {
    ArbNodeType made{};
    made.elementId = kKind;
    return made;
  }();
  if (id != kKind || !(*node = heap::allocateRecord<ArbNode>())) return ARB_OK;
  (*node)->size = sizeof(ArbNode);
  (*node)->nodeType = &type;
  ++elements;
  return ARB_OK;
}
std::uint32_t ARB_CALL destroyElement(ArbNode* node) {
  --elements;
  heap::release(node, sizeof(ArbNode));
  return ARB_OK;
}

// A cell that was handed out, and whether it was kept for a node that could be referred to.
struct Cell {
  ArbNodeRef* ref;
  ArbTree* tree;
  bool isKept;
};

class Calls {
 public:
  explicit Calls(Input& input) : input_(input) {
    current = this;
    context_.startEntry =
        context_.continueEntry = [](std::uint32_t, std::uint32_t, std::uint32_t) { return current->produce(); };
    const std::uint32_t mode = input_.below(4) == 0 ? 1 : 0;
    isProducerOnly_ = mode == 1;
    require(ArbDocumentCreate(0, &context_, u"%n", 0, mode, &document_) == ARB_OK, "a document is made");
    head_ = reinterpret_cast<const ArbDocumentHead*>(document_);
    ArbDocumentRegisterCallback(document_, onEvent, this);
    for (std::size_t i = 0; i < std::size(names_); ++i) {
      const char16_t text[] = {static_cast<char16_t>(u'a' + i), 0};
      require(ArbDocumentCreateString(document_, text, &names_[i]) == ARB_OK, "a string is made");
    }
    children_.push_back(&head_->rootForest->child);
    makeTree(head_->rootForest);
  }

  void run() {
    while (!input_.empty()) {
      call();
      checkAll();
    }
    heap::testing::stopFailing();
    for (ArbForestChild* const child : children_) destroyLoose(child);
    isDestroying_ = true;
    ArbDocumentDestroy(document_);
    require(elements == 0, "all nodes go with their document");
  }

 private:
  std::uint32_t produce() {
    isRunning_ = true;
    for (std::size_t count = input_.below(32); count > 0 && !input_.empty(); --count) call();
    isRunning_ = false;
    if (input_.empty()) return ARB_STATUS_END;
    switch (input_.below(32)) {
      case 0:
        return ARB_STATUS_END;
      case 1:
        return ARB_STATUS_BREAK;
      case 2:
        return 4711;
      case 3:
        throw std::runtime_error("from the producer");
      default:
        return 0;
    }
  }

  // A freed node has been released by all, unless it goes with something that is being destroyed.
  static std::uint32_t ARB_CALL onEvent(ArbDocument*, std::uint32_t event, void* argument, void* self) {
    const Calls& calls = *static_cast<Calls*>(self);
    if (event != ARB_EVENT_NODE_FREED || calls.isDestroying_) return 0;
    const ArbNode& node = *static_cast<ArbNode*>(argument);
    require(has(node, ARB_NODE_PRODUCER_RELEASED), "a freed node was released by the producer");
    require(calls.isProducerOnly_ || has(node, ARB_NODE_CONSUMER_RELEASED), "... and by the consumer");
    require(!resolve(node.firstChildCell), "a freed node has no child");
    return 0;
  }

  // --- choosing
  ArbNode* anyNode() { return cells_.empty() ? nullptr : resolve(cells_[input_.below(cells_.size())].ref); }
  // A node on which the consumer may wait.
  ArbNode* anyVisible() {
    ArbNode* const node = anyNode();
    return node && has(*node, ARB_NODE_IN_TREE) && !has(*node, ARB_NODE_CONSUMER_RELEASED) ? node : nullptr;
  }
  ArbForestChild* anyChild(std::uint32_t kind) {
    ArbForestChild* const child = children_[input_.below(children_.size())];
    return child->kind == kind ? child : nullptr;
  }
  static bool isBelow(const ArbNode* node, const ArbNode* top) {
    while (node && node != top) node = resolve(node->parentCell);
    return node != nullptr;
  }
  static bool isRoot(const ArbNode& node) { return node.nodeType->elementId == ARB_ELEM_ROOT; }

  // --- what exists
  Cell& note(ArbNodeRef* ref, ArbTree* tree) {
    const auto found = std::find_if(cells_.begin(), cells_.end(), [&](const Cell& cell) { return cell.ref == ref; });
    return found != cells_.end() ? *found : cells_.emplace_back(Cell{ref, tree, false});
  }
  void noteSubtree(ArbNode* node) {
    note(node->cell, node->tree);
    for (ArbNode* child = resolve(node->firstChildCell); child; child = resolve(child->nextSiblingCell)) {
      noteSubtree(child);
    }
  }
  void makeTree(ArbForest* forest) {
    ArbTree* tree = nullptr;
    ArbNode* root = nullptr;
    if (ArbDocumentCreateTree(document_, u"t", &tree) != ARB_OK) return;
    auto* const child = reinterpret_cast<ArbForestChild*>(tree);
    if (ArbForestAppendChild(forest, child) != ARB_OK) return void(destroyTree(tree));
    ArbTreeAddNodeFactory(tree, kNamespace);
    children_.push_back(child);
    // The word behind the header is the cell of the root; a Query would not give it in a producer-only document.
    root = resolve(*reinterpret_cast<ArbNodeRef**>(child + 1));
    note(root->cell, tree);
  }
  void destroyTree(ArbTree* tree) {
    isDestroying_ = true;
    ArbTreeDestroy(tree);
    isDestroying_ = false;
  }
  void destroyNode(ArbNode* node) {
    isDestroying_ = true;
    ArbNodeDestroy(node);
    isDestroying_ = false;
  }
  // Nodes that do not go with their tree.
  void destroyLoose(ArbForestChild* tree) {
    for (std::size_t i = 0; i < cells_.size(); ++i) {
      ArbNode* const node = cells_[i].tree == asTree(tree) ? resolve(cells_[i].ref) : nullptr;
      if (node && !has(*node, ARB_NODE_LINKED)) destroyNode(node);
    }
  }
  void destroyChild(ArbForestChild* top) {
    const auto isGone = [&](const ArbForestChild* child) {
      while (child && child != top) child = child->parent ? &child->parent->child : nullptr;
      return child != nullptr;
    };
    for (ArbForestChild* const child : children_) {
      if (isGone(child)) destroyLoose(child);
    }
    std::erase_if(cells_, [&](const Cell& cell) { return isGone(reinterpret_cast<ArbForestChild*>(cell.tree)); });
    std::erase_if(children_, isGone);
    isDestroying_ = true;
    const std::uint32_t kind = top->kind;
    if (kind == ARB_CHILD_TREE) ArbTreeDestroy(asTree(top));
    if (kind == ARB_CHILD_FOREST) ArbForestDestroy(asForest(top));
    if (kind == ARB_CHILD_FILE) ArbFileDestroy(reinterpret_cast<ArbFile*>(top));
    isDestroying_ = false;
  }

  // --- what must hold between two calls
  void checkAll() const {
    std::int64_t alive = 0;
    for (const Cell& cell : cells_) {
      const ArbNode* const node = resolve(cell.ref);
      if (!node) continue;
      require(node->cell == cell.ref && node->tree == cell.tree, "a node's cell leads to it");
      alive += node->nodeType->elementId == kKind;
      checkNode(*node);
    }
    require(alive == elements, "every node that is alive is reached through its cell");
    require(!(head_->flags & ARB_DOC_RUNNING), "no run is in progress between calls");
  }
  void checkNode(const ArbNode& node) const {
    if (has(node, ARB_NODE_PRODUCER_RELEASED)) {
      require(has(node, ARB_NODE_ATTRIBUTES_DONE | ARB_NODE_CHILDREN_DONE), "a released node is complete");
    }
    require((node.parentCell != nullptr) == (has(node, ARB_NODE_LINKED) && !isRoot(node)),
            "a linked node has a parent");
    const ArbNodeRef* previous = nullptr;
    std::uint32_t count = 0;
    for (const ArbNode* child = resolve(node.firstChildCell); child; child = resolve(child->nextSiblingCell), ++count) {
      require(child->parentCell == node.cell && has(*child, ARB_NODE_LINKED), "a child's parent");
      require(child->prevSiblingCell == previous, "a child's previous sibling");
      if (!isReshaped_) require(has(*child, ARB_NODE_IN_TREE) == has(node, ARB_NODE_IN_TREE), "a child joins the tree");
      previous = child->cell;
    }
    require(node.lastChildCell == previous, "the last child");
    if (!isReshaped_) require(count == node.childCount - node.freedChildCount, "the number of children");
  }

  // --- the calls
  void call() {
    using Call = void (Calls::*)();
    static constexpr Call kAny[] = {&Calls::createNode,    &Calls::createNode,    &Calls::append,     &Calls::append,
                                    &Calls::finish,        &Calls::finish,        &Calls::step,       &Calls::reshape,
                                    &Calls::makeReference, &Calls::readReference, &Calls::giveValue,  &Calls::makeChild,
                                    &Calls::finishChild,   &Calls::stepForests,   &Calls::pushCursor, &Calls::chunk};
    static constexpr Call kBetweenRuns[] = {&Calls::consume,   &Calls::consume,       &Calls::consumeChild,
                                            &Calls::popCursor, &Calls::copy,          &Calls::destroy,
                                            &Calls::walk,      &Calls::failAllocation};
    const std::size_t chosen = input_.below(std::size(kAny) + (isRunning_ ? 0 : std::size(kBetweenRuns)));
    (this->*(chosen < std::size(kAny) ? kAny[chosen] : kBetweenRuns[chosen - std::size(kAny)]))();
  }

  void createNode() {
    constexpr std::uint32_t kKinds[] = {kKind, kKind, ARB_ELEM_TEXT, ARB_ELEM_ENCODED_BYTES, kKind + 1};
    ArbForestChild* const child = anyChild(ARB_CHILD_TREE);
    const std::uint32_t kind = kKinds[input_.below(std::size(kKinds))];
    if (!child || cells_.size() >= 2 * kMostNodes) return;
    ArbNodeRef* reference = nullptr;
    if (const std::size_t at = input_.below(2 * cells_.size() + 1); at < cells_.size()) {
      const Cell& cell = cells_[at];
      const std::uint32_t state = cell.ref->state;
      const bool isPending = state == ARB_REF_FLOATING || state == ARB_REF_NAMED;
      if (cell.tree == asTree(child) && (isPending || (cell.isKept && state != ARB_REF_NODE))) reference = cell.ref;
    }
    ArbNode* node = nullptr;
    const ArbStatus status = ArbTreeCreateNode(asTree(child), kind, reference, &node);
    require((status == ARB_OK) == (node != nullptr), "a node is made exactly when the status says so");
    if (!node) return;
    require(!reference || node->cell == reference, "a node made on a reference has its cell");
    note(node->cell, node->tree);
    if (input_.below(4) != 0) appendTo(anyNode(), node);
  }
  void append() {
    ArbNode* const parent = anyNode();
    appendTo(parent, anyNode());
  }
  void appendTo(ArbNode* parent, ArbNode* child) {
    if (!parent || !child || isBelow(parent, child)) return;
    if (ArbNodeAppendChild(parent, child) == ARB_OK) require(parent->lastChildCell == child->cell, "an appended child");
  }
  void reshape() {
    ArbNode* const a = anyNode();
    ArbNode* const b = anyNode();
    const std::size_t choice = input_.below(4);
    if (!a || !b) return;
    if (choice == 0 && !isBelow(a, b)) isReshaped_ |= ArbNodeInsertSiblingBefore(a, b) == ARB_OK;
    if (choice == 1 && !isRoot(*a)) isReshaped_ |= ArbNodeRemoveFromTree(a) == ARB_OK;
    if (choice == 2 && a->tree == b->tree && !isBelow(b, a) && !(isRunning_ && has(*a, ARB_NODE_LINKED))) {
      isReshaped_ |= ArbNodeTransferChildren(a, b) == ARB_OK;
    }
    if (choice == 3 && !isRoot(*a) && !has(*a, ARB_NODE_IN_TREE) && !(isRunning_ && has(*a, ARB_NODE_LINKED))) {
      destroyNode(a);
    }
  }
  void finish() {
    using Finish = ArbStatus(ARB_CALL*)(ArbNode*);
    constexpr Finish kFinish[] = {ArbNodeProducerRelease,    ArbNodeProducerRelease,     ArbNodeProducerReleaseSubtree,
                                  ArbNodeProducerDone,       ArbNodeProducerDoneSubtree, ArbNodeAttributesDone,
                                  ArbNodeAllChildrenAttached};
    ArbNode* const node = anyNode();
    if (node) kFinish[input_.below(std::size(kFinish))](node);
  }
  void consume() {
    using Consume = ArbStatus(ARB_CALL*)(ArbNode*);
    constexpr Consume kConsume[] = {ArbNodeConsumerRelease,         ArbNodeConsumerRelease,
                                    ArbNodeConsumerReleaseSubtree,  ArbNodeWaitAttributesDone,
                                    ArbNodeWaitAllChildrenAttached, ArbNodeWaitProducerDone};
    ArbNode* const node = anyVisible();
    if (node) kConsume[input_.below(std::size(kConsume))](node);
  }
  void step() {
    struct Step {
      ArbStatus(ARB_CALL* call)(ArbNode*, ArbNode**);
      ArbNodeRef* ArbNode::*link;
    };
    constexpr Step kSteps[] = {
        {ArbNodeQueryFirstChild, &ArbNode::firstChildCell},   {ArbNodeWaitFirstChild, &ArbNode::firstChildCell},
        {ArbNodeQueryLastChild, &ArbNode::lastChildCell},     {ArbNodeWaitLastChild, &ArbNode::lastChildCell},
        {ArbNodeQueryNextSibling, &ArbNode::nextSiblingCell}, {ArbNodeWaitNextSibling, &ArbNode::nextSiblingCell},
        {ArbNodeWaitPrevSibling, &ArbNode::prevSiblingCell},  {ArbNodeWaitParent, &ArbNode::parentCell}};
    ArbNode* const node = anyVisible();
    if (!node) return;
    const Step& chosen = kSteps[input_.below(std::size(kSteps))];
    ArbNode* result = nullptr;
    if (chosen.call(node, &result) == ARB_OK) require(result == resolve(node->*chosen.link), "where a step leads");
  }
  void makeReference() {
    ArbForestChild* const child = anyChild(ARB_CHILD_TREE);
    ArbString* const name = names_[input_.below(std::size(names_))];
    if (!child || cells_.size() >= 2 * kMostNodes) return;
    ArbNodeRef* ref = nullptr;
    const bool isNamed = input_.below(2) != 0;
    const ArbStatus status = isNamed ? ArbTreeCreateNamedNodeReference(asTree(child), name, &ref)
                                     : ArbTreeCreateFloatingNodeReference(asTree(child), &ref);
    require((status == ARB_OK) == (ref != nullptr), "a reference is made exactly when the status says so");
    if (ref) note(ref, asTree(child));
  }
  void readReference() {
    if (cells_.empty()) return;
    ArbNodeRef* const ref = cells_[input_.below(cells_.size())].ref;
    ArbNode* node = nullptr;
    ArbString* name = nullptr;
    switch (input_.below(4)) {
      case 0:
        require(ArbNodeRefQueryNode(ref, &node) != ARB_OK || node == resolve(ref), "the node of a reference");
        break;
      case 1:
        require(ArbNodeRefWaitNode(ref, document_, &node) != ARB_OK || node == resolve(ref), "the awaited node");
        break;
      case 2:
        ArbNodeRefQueryIdString(ref, &name);
        break;
      default:
        ArbNodeRefWaitIdString(ref, document_, &name);
    }
  }
  void giveValue() {
    ArbNode* const node = anyNode();
    const std::size_t choice = input_.below(8);
    const std::vector<std::uint8_t> value = input_.bytes(input_.below(12));
    const auto size = static_cast<std::uint32_t>(value.size());
    if (!node) return;
    ArbStatus status = ARB_ERR_BADARG;
    if (choice == 0) status = ArbNodeCreateID(node);
    if (choice == 1) status = ArbNodeSetSeparateStream(node);
    if (choice == 2) status = ArbNodeSetIDString(node, names_[input_.below(std::size(names_))]);
    if (status == ARB_OK) note(node->cell, node->tree).isKept = true;
    if (choice == 3) ArbAbstractTextNodeSetValue(node, u"0123456789..", size);
    if (choice == 4) ArbEncodedBytesNodeSetValueEx(node, value.data(), size, 1, input_.byte() % 4u, input_.byte());
    if (choice == 5) ArbNodeSetMetadata(node, input_.byte() % 4u, value.data(), size);
    if (choice == 6) ArbNodeSetSkipIfEmpty(node);
    char copied[16];
    std::uint32_t room = sizeof copied;
    if (choice == 7) ArbNodeGetMetadata(node, input_.byte() % 4u, copied, &room);
  }

  // --- child documents
  void makeChild() {
    ArbForestChild* const parent = anyChild(ARB_CHILD_FOREST);
    const std::size_t kind = input_.below(3);
    if (!parent || children_.size() >= kMostChildren) return;
    if (kind == 0) return makeTree(asForest(parent));
    ArbForest* forest = nullptr;
    ArbFile* file = nullptr;
    if (kind == 1) ArbDocumentCreateForest(document_, u"f%x", &forest);
    if (kind == 2) ArbDocumentCreateFile(document_, u"%f", 7, &file);
    ArbForestChild* const child = forest ? &forest->child : file ? &file->child : nullptr;
    if (!child) return;
    children_.push_back(child);
    if (ArbForestAppendChild(asForest(parent), child) != ARB_OK) destroyChild(child);
  }
  void finishChild() {
    ArbForestChild* const child = children_[input_.below(children_.size())];
    const std::size_t choice = input_.below(6);
    if (choice == 0) ArbForestChildProducerDone(child);
    if (choice == 1) ArbForestChildProducerRelease(child);
    if (child->kind != ARB_CHILD_FOREST) return;
    if (choice == 2) ArbForestAllChildrenAttached(asForest(child));
    if (choice == 3) ArbForestProducerReleaseSubtree(asForest(child));
    if (choice == 4) ArbForestSetArchiveType(asForest(child), input_.byte() % 5u);
  }
  void consumeChild() {
    ArbForestChild* const child = children_[input_.below(children_.size())];
    const std::size_t choice = input_.below(4);
    if (choice == 0) ArbForestChildConsumerRelease(child);
    if (choice == 1 && child->kind == ARB_CHILD_FOREST) ArbForestConsumerReleaseSubtree(asForest(child));
    if (choice == 2 && child != children_.front()) destroyChild(child);
  }
  void stepForests() {
    ArbForestChild* const child = children_[input_.below(children_.size())];
    ArbForestChild* next = nullptr;
    const std::size_t choice = input_.below(4);
    if (choice == 0) ArbForestChildWaitNextSibling(child, &next);
    if (choice == 1) ArbForestChildQueryNextSibling(child, &next);
    require(!next || next == child->nextSibling, "the sibling of a child document");
    if (child->kind != ARB_CHILD_FOREST) return;
    if (choice == 2) ArbForestWaitFirstChild(asForest(child), &next);
    if (choice == 3) ArbForestWaitLastChild(asForest(child), &next);
  }

  // --- the rest
  void pushCursor() {
    ArbForestChild* const child = anyChild(ARB_CHILD_TREE);
    ArbNode* const node = anyNode();
    if (child && (!node || node->tree == asTree(child))) ArbTreePushCursor(asTree(child), node);
  }
  void popCursor() {
    ArbForestChild* const child = anyChild(ARB_CHILD_TREE);
    ArbNode* node = nullptr;
    if (child && ArbTreePopCursor(asTree(child), &node) == ARB_OK && node) {
      require(resolve(node->cell) == node, "a popped position");
    }
  }
  void chunk() {
    std::uint32_t isDue = 0;
    switch (input_.below(4)) {
      case 0:
        ArbDocumentForceBreak(document_);
        break;
      case 1:
        ArbDocumentSetChunkBreakSize(document_, input_.byte() * 16u);
        break;
      case 2:
        ArbDocumentQueryBreak(document_, &isDue);
        break;
      default:
        const ArbStatus status = ArbDocumentReadAhead(document_);
        require(!isRunning_ || status == ARB_ERR_NOTREADY, "no run within a run");
    }
  }
  void copy() {
    ArbNode* const source = anyNode();
    ArbForestChild* const child = anyChild(ARB_CHILD_TREE);
    if (!source || !child || isRoot(*source) || cells_.size() >= kMostNodes) return;
    ArbNode* made = nullptr;
    ArbNodeCloneSubtree(source, asTree(child), &made);
    if (!made) return;
    noteSubtree(made);
    require(ArbNodeIsEqual(source, made) == ArbNodeIsEqual(made, source), "equality goes both ways");
    ArbNodeHashCode(made);
  }
  void destroy() {
    ArbNode* const node = anyNode();
    if (node && !isRoot(*node) && !has(*node, ARB_NODE_LINKED)) destroyNode(node);
  }
  void walk() {
    const ArbTraverserCallbacks none = {};
    if (ArbNode* const node = anyVisible()) ArbDocumentOrderTraverser(node, &none, nullptr);
  }
  void failAllocation() { heap::testing::failAllocation(1 + input_.byte() % 16u, false); }

  static inline Calls* current = nullptr;  // whose document runs
  Input& input_;
  ArbHostContext context_ = {};
  ArbDocument* document_ = nullptr;
  const ArbDocumentHead* head_ = nullptr;
  bool isProducerOnly_ = false, isRunning_ = false, isDestroying_ = false;
  bool isReshaped_ = false;  // children have been moved, so that counts and ARB_NODE_IN_TREE need not agree any more
  ArbString* names_[3] = {};
  std::vector<ArbForestChild*> children_;  // the root forest first
  std::vector<Cell> cells_;
};

}  // namespace

std::vector<std::string> seeds() {
  std::vector<std::string> made;
  std::string input(1, '\x01');
  for (unsigned i = 0; i < 400; ++i) {
    input += static_cast<char>((i * i * 31u + i * 7u) >> 3);
    if (i % 100 == 99) made.push_back(input);
  }
  return made;
}

}  // namespace arbtree::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace arbtree::fuzz;
  static const bool isRegistered = ElemDefsRegisterNamespace(kNamespace, makeElement, destroyElement, 1) == ARB_OK;
  require(isRegistered, "the namespace is registered");
  const std::uint64_t blocks = arbtree::heap::testing::liveBlocks();
  Input input(data, std::min<std::size_t>(size, 2000));
  Calls(input).run();
  require(arbtree::heap::testing::liveBlocks() == blocks, "a destroyed document leaves nothing allocated");
  return 0;
}
