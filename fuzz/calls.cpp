// The input drives the calls of the public interface on the trees of one document, those of its producer included: a
// call's number, then what the call needs; a Wait runs the producer, which takes what follows. Nodes are only looked at
// through their cells, which tell whether they are alive.
//
// What the library does not check is kept: no cycle is made and no root removed; the consumer leaves nodes alone that
// it has released or that are not in the tree; and under a Wait no tree is destroyed and no linked node.
#include <iterator>
#include <stdexcept>

#include "arbtree/arbtree.h"
#include "arbtree/elemdefs.h"
#include "fuzz.h"
#include "platform/heap.h"

namespace arbtree::fuzz {
namespace {

constexpr std::uint32_t kNamespace = 33, kKind = kNamespace << 14 | 1;
constexpr std::size_t kMostCells = 100, kMostTrees = 4;

ArbNode* resolve(const ArbNodeRef* cell) {
  return cell && cell->state == ARB_REF_NODE ? reinterpret_cast<ArbNode*>(cell->value) : nullptr;
}
bool has(const ArbNode& node, std::uint32_t flags) { return (node.flags & flags) == flags; }
bool isRoot(const ArbNode& node) { return node.nodeType->elementId == ARB_ELEM_ROOT; }
bool isBelow(const ArbNode* node, const ArbNode* top) {
  while (node && node != top) node = resolve(node->parentCell);
  return node != nullptr;
}
ArbForestChild* asChild(ArbTree* tree) { return reinterpret_cast<ArbForestChild*>(tree); }

std::int64_t elements = 0;  // nodes of kKind made and not destroyed

std::uint32_t ARB_CALL makeElement(ArbTree*, std::uint32_t id, ArbNode** node) {
  static ArbNodeType type{};
  type.elementId = kKind;
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

// A cell that was handed out; it is kept for its node when that was marked as referred to.
struct Cell {
  ArbNodeRef* ref;
  ArbTree* tree;
  bool isKept;
};

class Calls {
 public:
  explicit Calls(Input& input) : input_(input), isProducerOnly_(input.below(4) == 1) {
    current = this;
    context_.startEntry =
        context_.continueEntry = [](std::uint32_t, std::uint32_t, std::uint32_t) { return current->produce(); };
    const ArbStatus status = ArbDocumentCreate(0, &context_, u"d", 0, isProducerOnly_ ? 1 : 0, &document_);
    require(status == ARB_OK, "a document is made");
    ArbDocumentRegisterCallback(document_, onEvent, this);
    for (ArbString*& name : names_) ArbDocumentCreateString(document_, &u"abc"[&name - names_], &name);
    makeTree();
  }

  void run() {
    while (!input_.empty()) {
      call();
      checkAll();
    }
    heap::testing::stopFailing();
    while (!trees_.empty()) destroyTree(0);
    ArbDocumentDestroy(document_);
    require(elements == 0, "all nodes go with their document");
  }

 private:
  std::uint32_t produce() {
    isRunning_ = true;
    for (std::size_t count = input_.below(32); count > 0 && !input_.empty(); --count) call();
    isRunning_ = false;
    const std::size_t result = input_.below(32);
    if (result == 1) throw std::runtime_error("from the producer");
    return input_.empty() || result == 2 ? ARB_STATUS_END : result == 3 ? ARB_STATUS_BREAK : result == 4 ? 4711 : 0;
  }

  // A freed node has been released by all, unless it goes with what is destroyed.
  static std::uint32_t ARB_CALL onEvent(ArbDocument*, std::uint32_t event, void* argument, void* self) {
    const Calls& calls = *static_cast<Calls*>(self);
    if (event != ARB_EVENT_NODE_FREED || calls.isDestroying_) return 0;
    const ArbNode& node = *static_cast<ArbNode*>(argument);
    require(has(node, ARB_NODE_PRODUCER_RELEASED), "the producer has released a freed node");
    require(calls.isProducerOnly_ || has(node, ARB_NODE_CONSUMER_RELEASED), "the consumer has released a freed node");
    require(!resolve(node.firstChildCell), "a freed node has no child");
    const ArbNode* const parent = resolve(node.parentCell);
    const bool isLast = parent && parent->lastChildCell == node.cell && !has(*parent, ARB_NODE_CHILDREN_DONE);
    require(!isLast, "the last child of an open list stays");
    return 0;
  }

  // --- what exists
  ArbNode* anyNode() { return cells_.empty() ? nullptr : resolve(cells_[input_.below(cells_.size())].ref); }
  ArbNode* anyVisible() {
    ArbNode* const node = anyNode();
    return node && has(*node, ARB_NODE_IN_TREE) && !has(*node, ARB_NODE_CONSUMER_RELEASED) ? node : nullptr;
  }
  ArbTree* anyTree() { return trees_.empty() ? nullptr : trees_[input_.below(trees_.size())]; }
  ArbString* anyName() { return names_[input_.below(std::size(names_))]; }
  Cell& note(ArbNodeRef* ref, ArbTree* tree) {
    const auto found = std::find_if(cells_.begin(), cells_.end(), [&](const Cell& cell) { return cell.ref == ref; });
    return found != cells_.end() ? *found : cells_.emplace_back(Cell{ref, tree, false});
  }
  void makeTree() {
    ArbTree* tree = nullptr;
    if (trees_.size() == kMostTrees || ArbDocumentCreateTree(document_, u"t", &tree) != ARB_OK) return;
    trees_.push_back(tree);
    ArbTreeAddNodeFactory(tree, kNamespace);
    // The word behind the header is the cell of the root, which a Query would not give without a consumer.
    note(*reinterpret_cast<ArbNodeRef**>(asChild(tree) + 1), tree);
    ArbForestAppendChild(ArbDocumentRootForest(document_), asChild(tree));
  }
  void destroyTree(std::size_t index) {
    ArbTree* const tree = trees_[index];
    for (const Cell& cell : cells_) {
      ArbNode* const node = cell.tree == tree ? resolve(cell.ref) : nullptr;
      if (node && !has(*node, ARB_NODE_LINKED)) destroyNode(node);
    }
    std::erase_if(cells_, [&](const Cell& cell) { return cell.tree == tree; });
    trees_.erase(trees_.begin() + static_cast<std::ptrdiff_t>(index));
    isDestroying_ = true;
    ArbTreeDestroy(tree);
    isDestroying_ = false;
  }
  void destroyNode(ArbNode* node) {
    isDestroying_ = true;
    ArbNodeDestroy(node);
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
    const auto& head = *reinterpret_cast<const ArbDocumentHead*>(document_);
    require(!(head.flags & ARB_DOC_RUNNING), "no run is in progress between calls");
  }
  void checkNode(const ArbNode& node) const {
    constexpr std::uint32_t kComplete = ARB_NODE_ATTRIBUTES_DONE | ARB_NODE_CHILDREN_DONE;
    require(!has(node, ARB_NODE_PRODUCER_RELEASED) || has(node, kComplete), "a released node is complete");
    require(!node.parentCell == (isRoot(node) || !has(node, ARB_NODE_LINKED)), "a linked node has a parent");
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
    static constexpr Call kCalls[] = {
        &Calls::createNode, &Calls::createNode, &Calls::append,     &Calls::finish,        &Calls::finish,
        &Calls::step,       &Calls::step,       &Calls::reshape,    &Calls::makeReference, &Calls::readReference,
        &Calls::giveId,     &Calls::giveValue,  &Calls::pushCursor, &Calls::makeTree,      &Calls::produceMore};
    static constexpr Call kBetweenRuns[] = {&Calls::consume,   &Calls::consume,    &Calls::consume,
                                            &Calls::popCursor, &Calls::finishTree, &Calls::failAllocation};
    const std::size_t chosen = input_.below(std::size(kCalls) + (isRunning_ ? 0 : std::size(kBetweenRuns)));
    (this->*(chosen < std::size(kCalls) ? kCalls[chosen] : kBetweenRuns[chosen - std::size(kCalls)]))();
  }

  void createNode() {
    constexpr std::uint32_t kKinds[] = {kKind, kKind, ARB_ELEM_TEXT, ARB_ELEM_ENCODED_BYTES, kKind + 1};
    ArbTree* const tree = anyTree();
    const std::uint32_t kind = kKinds[input_.below(std::size(kKinds))];
    const std::size_t at = input_.below(2 * kMostCells);
    if (!tree || cells_.size() >= kMostCells) return;
    ArbNodeRef* reference = nullptr;
    if (at < cells_.size() && cells_[at].tree == tree) {
      const std::uint32_t state = cells_[at].ref->state;
      const bool isPending = state == ARB_REF_FLOATING || state == ARB_REF_NAMED;
      if (isPending || (cells_[at].isKept && state != ARB_REF_NODE)) reference = cells_[at].ref;
    }
    ArbNode* node = nullptr;
    const ArbStatus status = ArbTreeCreateNode(tree, kind, reference, &node);
    require((status == ARB_OK) == (node != nullptr), "a node is made exactly when the status says so");
    if (!node) return;
    require(!reference || node->cell == reference, "a node made on a reference has its cell");
    require(!note(node->cell, tree).isKept || reference, "a kept cell goes to no other node");
    if (input_.below(4) != 0) link(anyNode(), node);
  }
  void append() {
    ArbNode* const parent = anyNode();
    link(parent, anyNode());
  }
  static void link(ArbNode* parent, ArbNode* child) {
    if (!parent || !child || isBelow(parent, child)) return;
    if (ArbNodeAppendChild(parent, child) == ARB_OK) require(parent->lastChildCell == child->cell, "an appended child");
  }
  void reshape() {
    ArbNode* const a = anyNode();
    ArbNode* const b = anyNode();
    const std::size_t choice = input_.below(4);
    if (!a || !b) return;
    const bool isMovable = !isRoot(*a) && !(isRunning_ && has(*a, ARB_NODE_LINKED));
    if (choice == 0 && !isBelow(a, b)) isReshaped_ |= ArbNodeInsertSiblingBefore(a, b) == ARB_OK;
    if (choice == 1 && !isRoot(*a)) isReshaped_ |= ArbNodeRemoveFromTree(a) == ARB_OK;
    if (choice == 2 && isMovable && a->tree == b->tree && !isBelow(b, a)) {
      isReshaped_ |= ArbNodeTransferChildren(a, b) == ARB_OK;
    }
    if (choice == 3 && isMovable) destroyNode(a);
  }
  void finish() {
    constexpr ArbStatus(ARB_CALL * kFinish[])(ArbNode*) = {
        ArbNodeProducerRelease,     ArbNodeProducerRelease, ArbNodeProducerReleaseSubtree, ArbNodeProducerDone,
        ArbNodeProducerDoneSubtree, ArbNodeAttributesDone,  ArbNodeAllChildrenAttached};
    if (ArbNode* const node = anyNode()) kFinish[input_.below(std::size(kFinish))](node);
  }
  void consume() {
    constexpr ArbStatus(ARB_CALL * kConsume[])(ArbNode*) = {ArbNodeConsumerRelease,         ArbNodeConsumerRelease,
                                                            ArbNodeConsumerReleaseSubtree,  ArbNodeWaitAttributesDone,
                                                            ArbNodeWaitAllChildrenAttached, ArbNodeWaitProducerDone};
    if (ArbNode* const node = anyVisible()) kConsume[input_.below(std::size(kConsume))](node);
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
    ArbTree* const tree = anyTree();
    ArbString* const name = anyName();
    if (!tree || cells_.size() >= kMostCells) return;
    ArbNodeRef* ref = nullptr;
    const ArbStatus status = input_.below(2) != 0 ? ArbTreeCreateNamedNodeReference(tree, name, &ref)
                                                  : ArbTreeCreateFloatingNodeReference(tree, &ref);
    require((status == ARB_OK) == (ref != nullptr), "a reference is made exactly when the status says so");
    if (ref) note(ref, tree);
  }
  void readReference() {
    if (cells_.empty()) return;
    ArbNodeRef* const ref = cells_[input_.below(cells_.size())].ref;
    ArbNode* node = nullptr;
    ArbString* name = nullptr;
    const std::size_t choice = input_.below(4);
    if (choice == 0 && ArbNodeRefQueryNode(ref, &node) == ARB_OK) require(node == resolve(ref), "a reference's node");
    if (choice == 1 && ArbNodeRefWaitNode(ref, document_, &node) == ARB_OK) require(node == resolve(ref), "the same");
    if (choice == 2) ArbNodeRefQueryIdString(ref, &name);
    if (choice == 3) ArbNodeRefWaitIdString(ref, document_, &name);
  }
  void giveId() {
    ArbNode* const node = anyNode();
    ArbString* const name = anyName();
    const std::size_t choice = input_.below(3);
    if (!node) return;
    const ArbStatus status = choice == 0   ? ArbNodeCreateID(node)
                             : choice == 1 ? ArbNodeSetSeparateStream(node)
                                           : ArbNodeSetIDString(node, name);
    if (status == ARB_OK) note(node->cell, node->tree).isKept = true;
  }
  void giveValue() {
    ArbNode* const node = anyNode();
    const std::size_t choice = input_.below(3);
    const Bytes value = input_.bytes(input_.below(12));
    const auto size = static_cast<std::uint32_t>(value.size());
    if (!node) return;
    if (choice == 0) ArbAbstractTextNodeSetValue(node, u"0123456789..", size);
    if (choice == 1) ArbEncodedBytesNodeSetValueEx(node, value.data(), size, 1, input_.byte() % 4u, input_.byte());
    if (choice == 2) ArbNodeSetMetadata(node, input_.byte() % 4u, value.data(), size);
  }

  void pushCursor() {
    ArbNode* const node = anyNode();
    if (node) ArbTreePushCursor(node->tree, node);
  }
  void popCursor() {
    ArbTree* const tree = anyTree();
    ArbNode* node = nullptr;
    if (tree && ArbTreePopCursor(tree, &node) == ARB_OK && node) require(resolve(node->cell) == node, "a position");
  }
  void finishTree() {
    if (trees_.empty()) return;
    const std::size_t index = input_.below(trees_.size());
    const std::size_t choice = input_.below(8);
    if (choice == 0) ArbForestChildProducerDone(asChild(trees_[index]));
    if (choice == 1) ArbForestChildProducerRelease(asChild(trees_[index]));
    if (choice == 2) ArbForestChildConsumerRelease(asChild(trees_[index]));
    if (choice == 3) destroyTree(index);
  }
  void produceMore() {
    const ArbStatus status = ArbDocumentReadAhead(document_);
    require(!isRunning_ || status == ARB_ERR_NOTREADY, "no run within a run");
  }
  void failAllocation() { heap::testing::failAllocation(1 + input_.byte() % 16u, false); }

  static inline Calls* current = nullptr;  // whose document runs
  Input& input_;
  const bool isProducerOnly_;
  bool isRunning_ = false, isDestroying_ = false;
  bool isReshaped_ = false;  // nodes have been moved, so that counts and ARB_NODE_IN_TREE need not agree any more
  ArbHostContext context_ = {};
  ArbDocument* document_ = nullptr;
  ArbString* names_[3] = {};
  std::vector<ArbTree*> trees_;
  std::vector<Cell> cells_;
};

}  // namespace

std::vector<std::string> seeds() {
  std::vector<std::string> made(4, std::string(200, '\0'));
  unsigned step = 0;
  for (std::string& seed : made) {
    for (char& byte : seed) byte = static_cast<char>((step * step * 31u + step * 7u) >> 3), ++step;
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
