// A tree in its plainest form, with recursion and searches wherever they are simplest: the model that random calls are
// compared with. It knows nodes, flags, releases, the free rule, cells, pending references and their slots, ID strings,
// metadata, the chunk's counters, and what the host's functions are told.
#ifndef ARBTREE_TESTS_SUPPORT_PLAIN_TREE_H
#define ARBTREE_TESTS_SUPPORT_PLAIN_TREE_H

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "arbtree/arbtree.h"
#include "support/plain_pool.h"

namespace arbtree::test {

// An event, or one of these, with the number of the node that it is about.
constexpr std::uint32_t kMade = 100, kDestroyed = 101, kAttributesHook = 102, kReleaseHook = 103;
struct Happening {
  std::uint32_t what, number;
  bool operator==(const Happening&) const = default;
};

enum class Relative { kFirstChild, kLastChild, kNextSibling, kPrevSibling, kParent };

struct PlainNode {
  ArbNode* real;
  std::uint32_t kind, number, bytes;  // bytes: what it adds to the chunk when it joins the tree
  Place cell;
  ArbString* idString;
  std::uint32_t flags = 0, marks = 0, count = 0, freed = 0;
  bool freeing = false;
  PlainNode* parent = nullptr;
  std::vector<PlainNode*> children{};
  std::map<std::uint32_t, std::string> metadata{};

  bool has(std::uint32_t flag) const { return (flags & flag) != 0; }
  bool contains(const PlainNode* other) const {
    while (other && other != this) other = other->parent;
    return other != nullptr;
  }
  PlainNode* sibling(std::ptrdiff_t distance) const {
    if (!parent) return nullptr;
    const auto& list = parent->children;
    const std::ptrdiff_t at = std::find(list.begin(), list.end(), this) - list.begin() + distance;
    return at >= 0 && at < static_cast<std::ptrdiff_t>(list.size()) ? list[static_cast<std::size_t>(at)] : nullptr;
  }
  PlainNode* relative(Relative which) const {
    if (which == Relative::kParent) return parent;
    if (which == Relative::kNextSibling || which == Relative::kPrevSibling) {
      return sibling(which == Relative::kNextSibling ? 1 : -1);
    }
    if (children.empty()) return nullptr;
    return which == Relative::kFirstChild ? children.front() : children.back();
  }
};

// What a step of the consumer answers; a result that is not written keeps its old value.
struct Answer {
  ArbStatus status;
  const PlainNode* node = nullptr;
  bool written = false;
};

class PlainTree {
 public:
  explicit PlainTree(bool isProducerOnly) : producerOnly(isProducerOnly) {}

  const bool producerOnly;
  bool callback = false;              // events are told
  std::vector<std::uint32_t> hooked;  // the kinds that have hooks
  std::uint32_t numbers = 0, chunkNodes = 0, chunkBytes = 0;
  std::vector<Happening> happened;
  std::vector<std::unique_ptr<PlainNode>> nodes;  // the living ones; the root is the first
  std::vector<std::vector<ArbNodeRef>> cells;     // by block and index, as far as they were ever used
  std::vector<ArbNodeRef*> slots;                 // of pending references, null where free
  std::map<ArbString*, Place> bound;              // which cell a name leads to

  PlainNode* root() const { return nodes.front().get(); }
  ArbNodeRef& at(Place place) { return cells[place.block][place.index]; }
  PlainNode* nodeAt(Place place) {
    const auto found = std::find_if(nodes.begin(), nodes.end(), [&](const auto& node) { return node->cell == place; });
    return found == nodes.end() ? nullptr : found->get();
  }

  // Production has ended, so a Wait is answered from what exists.
  Answer step(Relative which, bool wait, const PlainNode* from) const {
    if (producerOnly) return {ARB_ERR_MODE};
    if (which != Relative::kPrevSibling && from->has(ARB_NODE_CONSUMER_RELEASED)) return {ARB_ERR_RELEASED};
    const bool sideways = which == Relative::kNextSibling;
    if (sideways && !from->parent) return {ARB_OK};
    const PlainNode* const to = from->relative(which);
    const bool closed = (sideways ? from->parent : from)->has(ARB_NODE_CHILDREN_DONE);
    const bool linkIsAnswer = to && which != Relative::kLastChild;
    if (!wait && !closed && !linkIsAnswer) return {ARB_ERR_NOTREADY};
    return {ARB_OK, to, true};
  }
  Answer search(Relative first, Relative next, bool wait, const PlainNode* from, std::uint32_t id) const {
    Answer answer = step(first, wait, from);
    while (answer.node && answer.node->kind != id) answer = step(next, wait, answer.node);
    answer.written = answer.node != nullptr;
    return answer;
  }
  // The Get calls: only the producer's release of the node itself is in their way.
  static Answer get(Relative first, Relative next, const PlainNode* from, std::uint32_t id) {
    if (from->has(ARB_NODE_PRODUCER_RELEASED)) return {ARB_ERR_RELEASED};
    const PlainNode* node = from->relative(first);
    while (node && node->kind != id) node = node->relative(next);
    return {ARB_OK, node, node != nullptr};
  }

  // A reference made ahead; the slot is the lowest free one.
  Place createReference(ArbNodeRef* real, ArbString* name) {
    const Place place = take();
    at(place) = name ? ArbNodeRef{ARB_REF_NAMED, reinterpret_cast<std::uintptr_t>(name)}
                     : ArbNodeRef{ARB_REF_FLOATING, ++numbers};
    const auto slot = std::find(slots.begin(), slots.end(), nullptr);
    slot == slots.end() ? slots.push_back(real) : void(*slot = real);
    return place;
  }

  // `reference` is the place of a pending reference, whose cell is `realCell`; or null.
  PlainNode* createNode(ArbNode* real, std::uint32_t kind, const Place* reference, ArbNodeRef* realCell) {
    const Place place = reference ? *reference : take();
    const ArbNodeRef promised = reference ? at(place) : ArbNodeRef{};
    const std::uint32_t number =
        promised.state == ARB_REF_FLOATING ? static_cast<std::uint32_t>(promised.value) : ++numbers;
    auto* const name = promised.state == ARB_REF_NAMED ? reinterpret_cast<ArbString*>(promised.value) : nullptr;
    if (reference) *std::find(slots.begin(), slots.end(), realCell) = nullptr;
    nodes.push_back(std::make_unique<PlainNode>(PlainNode{real, kind, number, real->size, place, name}));
    PlainNode* const node = nodes.back().get();
    if (kind == ARB_ELEM_ROOT) node->flags = ARB_NODE_LINKED | ARB_NODE_IN_TREE;
    at(place) = {ARB_REF_NODE, reinterpret_cast<std::uintptr_t>(real)};
    ++chunkNodes;
    tellKind(kMade, *node);
    tell(ARB_EVENT_NODE_CREATED, *node);
    return node;
  }

  ArbStatus append(PlainNode* parent, PlainNode* child) {
    if (child->has(ARB_NODE_LINKED)) return ARB_ERR_ATTACHED;
    if (parent->has(ARB_NODE_CHILDREN_DONE)) return ARB_ERR_CLOSED;
    link(parent, parent->children.end(), child, parent);
    return ARB_OK;
  }
  ArbStatus insert(PlainNode* reference, PlainNode* node) {
    if (!producerOnly) return ARB_ERR_MODE;
    if (node->has(ARB_NODE_LINKED)) return ARB_ERR_ATTACHED;
    if (reference->has(ARB_NODE_CHILDREN_DONE)) return ARB_ERR_CLOSED;
    if (!reference->parent) return ARB_ERR_DETACHED;
    auto& list = reference->parent->children;
    link(reference->parent, std::find(list.begin(), list.end(), reference), node, reference);
    return ARB_OK;
  }
  ArbStatus remove(PlainNode* node) {
    if (!producerOnly) return ARB_ERR_MODE;
    if (!node->has(ARB_NODE_LINKED)) return ARB_ERR_DETACHED;
    --node->parent->count;
    unlink(node);
    node->flags &= ~std::uint32_t{ARB_NODE_LINKED | ARB_NODE_IN_TREE};
    return ARB_OK;
  }
  // The counts of freed children stay behind.
  ArbStatus transfer(PlainNode* from, PlainNode* to) {
    if (from->has(ARB_NODE_ATTRIBUTES_DONE)) return ARB_ERR_LOCKED;
    if (from->has(ARB_NODE_CHILDREN_DONE) || to->has(ARB_NODE_CHILDREN_DONE)) return ARB_ERR_CLOSED;
    if (from->has(ARB_NODE_IN_TREE) && !producerOnly) return ARB_ERR_CLOSED;
    if (from == to) return ARB_ERR_BADARG;
    for (PlainNode* child : from->children) child->parent = to;
    to->children.insert(to->children.end(), from->children.begin(), from->children.end());
    to->count += from->count;
    from->children.clear();
    from->count = 0;
    return ARB_OK;
  }
  ArbStatus destroy(PlainNode* node) {
    if (node->has(ARB_NODE_IN_TREE)) return ARB_ERR_ATTACHED;
    free(node);
    return ARB_OK;
  }

  ArbStatus mark(PlainNode* node, std::uint32_t flag) {
    if (node->has(ARB_NODE_ATTRIBUTES_DONE)) return ARB_ERR_LOCKED;
    node->marks |= flag;
    return ARB_OK;
  }
  ArbStatus createId(PlainNode* node) {
    if (node->has(ARB_NODE_HAS_ID)) return ARB_OK;
    if (node->has(ARB_NODE_ATTRIBUTES_DONE)) return ARB_ERR_LOCKED;
    node->flags |= ARB_NODE_HAS_ID;
    return ARB_OK;
  }
  void bind(PlainNode* node, ArbString* name) {
    node->idString = name;
    bound[name] = node->cell;
  }
  ArbStatus setIdString(PlainNode* node, ArbString* name) {
    if (node->has(ARB_NODE_ATTRIBUTES_DONE)) return ARB_ERR_LOCKED;
    bind(node, name);
    node->flags |= ARB_NODE_HAS_ID;
    return ARB_OK;
  }

  ArbStatus attributesDone(PlainNode* node) {
    if (node->has(ARB_NODE_ATTRIBUTES_DONE)) return ARB_OK;
    tellHook(kAttributesHook, *node);
    node->flags |= ARB_NODE_ATTRIBUTES_DONE;
    tell(ARB_EVENT_ATTRIBUTES_DONE, *node);
    return ARB_OK;
  }
  ArbStatus allChildrenAttached(PlainNode* node) {
    node->flags |= ARB_NODE_CHILDREN_DONE;
    tell(ARB_EVENT_CHILDREN_DONE, *node);
    return ARB_OK;
  }
  ArbStatus producerDone(PlainNode* node) { return attributesDone(node), allChildrenAttached(node); }
  ArbStatus producerDoneSubtree(PlainNode* node) {
    const bool before = node->has(ARB_NODE_ATTRIBUTES_DONE) && node->has(ARB_NODE_CHILDREN_DONE);
    for (PlainNode* child : node->children) producerDoneSubtree(child);
    return before ? ArbStatus{ARB_OK} : producerDone(node);
  }
  ArbStatus producerRelease(PlainNode* node) {
    if (node->has(ARB_NODE_PRODUCER_RELEASED)) return ARB_ERR_RELEASED;
    tell(ARB_EVENT_PRODUCER_RELEASE, *node);
    tellHook(kReleaseHook, *node);
    if (!node->has(ARB_NODE_LINKED)) return ARB_ERR_DETACHED;
    attributesDone(node);
    if (!node->has(ARB_NODE_CHILDREN_DONE)) allChildrenAttached(node);
    node->flags |= ARB_NODE_PRODUCER_RELEASED;
    applyFreeRule(node);
    return ARB_OK;
  }
  ArbStatus producerReleaseSubtree(PlainNode* node) {
    const bool before = node->has(ARB_NODE_PRODUCER_RELEASED);
    for (PlainNode* child : std::vector<PlainNode*>(node->children)) producerReleaseSubtree(child);
    if (!before) producerRelease(node);
    return ARB_OK;
  }
  ArbStatus consumerRelease(PlainNode* node) {
    if (producerOnly) return ARB_ERR_MODE;
    if (node->has(ARB_NODE_CONSUMER_RELEASED)) return ARB_ERR_RELEASED;
    tell(ARB_EVENT_CONSUMER_RELEASE, *node);
    node->flags |= ARB_NODE_CONSUMER_RELEASED;
    applyFreeRule(node);
    return ARB_OK;
  }
  // Production has ended, so every wait is answered from what exists.
  ArbStatus consumerReleaseSubtree(PlainNode* node) {
    if (producerOnly) return ARB_ERR_MODE;
    if (node->has(ARB_NODE_CONSUMER_RELEASED)) return ARB_ERR_RELEASED;
    ArbStatus status = ARB_OK;
    for (PlainNode* child : std::vector<PlainNode*>(node->children)) {
      if (child->has(ARB_NODE_CONSUMER_RELEASED)) status = ARB_ERR_RELEASED;
      consumerReleaseSubtree(child);
      if (status != ARB_OK) break;
    }
    consumerRelease(node);
    return status;
  }

 private:
  void tell(std::uint32_t event, const PlainNode& node) {
    if (callback) happened.push_back({event, node.number});
  }
  void tellHook(std::uint32_t hook, const PlainNode& node) {
    const bool has = std::find(hooked.begin(), hooked.end(), node.kind) != hooked.end();
    if (has) happened.push_back({hook, node.number});
  }
  // Factory and destroyer of the test's own kind; a node has no number yet when its factory runs.
  void tellKind(std::uint32_t what, const PlainNode& node) {
    if (ARB_ELEMENT_NAMESPACE(node.kind) == ARB_NAMESPACE_BUILTIN) return;
    happened.push_back({what, what == kMade ? 0 : node.number});
  }

  Place take() {
    const Place place = pool_.take();
    if (cells.size() <= place.block) cells.resize(place.block + 1);
    if (cells[place.block].size() <= place.index) cells[place.block].resize(place.index + 1);
    return place;
  }

  void link(PlainNode* parent, std::vector<PlainNode*>::iterator before, PlainNode* node, const PlainNode* through) {
    parent->children.insert(before, node);
    ++parent->count;
    node->parent = parent;
    node->flags |= ARB_NODE_LINKED;
    tell(ARB_EVENT_NODE_LINKED, *node);
    if (through->has(ARB_NODE_IN_TREE)) attach(node);
  }
  void unlink(PlainNode* node) {
    auto& list = node->parent->children;
    list.erase(std::find(list.begin(), list.end(), node));
    node->parent = nullptr;
  }
  void attach(PlainNode* node) {
    if (node->has(ARB_NODE_IN_TREE)) return;
    node->flags |= ARB_NODE_IN_TREE;
    chunkBytes += node->bytes;
    tell(ARB_EVENT_NODE_IN_TREE, *node);
    for (PlainNode* child : node->children) attach(child);
  }

  void applyFreeRule(PlainNode* node) {
    if (!node->has(ARB_NODE_PRODUCER_RELEASED) || !(producerOnly || node->has(ARB_NODE_CONSUMER_RELEASED))) return;
    if (node->freed < node->count || !node->children.empty() || node == root()) return;
    const PlainNode* const parent = node->parent;
    if (parent && parent->children.back() == node && !parent->has(ARB_NODE_CHILDREN_DONE)) return;
    free(node);
  }
  void free(PlainNode* node) {
    if (node->freeing) return;
    tell(ARB_EVENT_NODE_FREED, *node);
    freeBelow(node);
    settle(node);
  }
  void freeBelow(PlainNode* node) {
    node->freeing = true;
    while (!node->children.empty()) {
      PlainNode* const child = node->children.front();
      freeBelow(child);
      settle(child);
    }
  }
  void settle(PlainNode* node) {
    if (PlainNode* const parent = node->parent) {
      unlink(node);
      ++parent->freed;
      applyFreeRule(parent);
    }
    settleCell(*node);
    tellKind(kDestroyed, *node);
    nodes.erase(std::find_if(nodes.begin(), nodes.end(), [node](const auto& own) { return own.get() == node; }));
  }
  void settleCell(const PlainNode& node) {
    at(node.cell) = node.idString ? ArbNodeRef{ARB_REF_FREED_ID, reinterpret_cast<std::uintptr_t>(node.idString)}
                                  : ArbNodeRef{ARB_REF_FREED, node.number};
    if (node.has(ARB_NODE_HAS_ID) || (node.marks & ARB_NODE_SEPARATE_STREAM)) return;
    const auto binding = bound.find(node.idString);
    if (binding != bound.end() && binding->second == node.cell) bound.erase(binding);
    pool_.giveBack(node.cell);
  }

  PlainPool pool_;
};

}  // namespace arbtree::test

#endif
