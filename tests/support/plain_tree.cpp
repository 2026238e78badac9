#include "support/plain_tree.h"

namespace arbtree::test {

PlainNode* PlainTree::nodeAt(Place place) {
  const auto found = std::find_if(nodes.begin(), nodes.end(), [&](const auto& node) { return node->cell == place; });
  return found == nodes.end() ? nullptr : found->get();
}

Answer PlainTree::step(Relative which, bool wait, const PlainNode* from) const {
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

Answer PlainTree::search(Relative first, Relative next, bool wait, const PlainNode* from, std::uint32_t id) const {
  Answer answer = step(first, wait, from);
  while (answer.node && answer.node->kind != id) answer = step(next, wait, answer.node);
  answer.written = answer.node != nullptr;
  return answer;
}

Answer PlainTree::get(Relative first, Relative next, const PlainNode* from, std::uint32_t id) {
  if (from->has(ARB_NODE_PRODUCER_RELEASED)) return {ARB_ERR_RELEASED};
  const PlainNode* node = from->relative(first);
  while (node && node->kind != id) node = node->relative(next);
  return {ARB_OK, node, node != nullptr};
}

ArbStatus PlainTree::pushCursor(const PlainNode* node) {
  const std::uint32_t entry = cursorDepth++;
  if (producerOnly) return ARB_ERR_MODE;
  if (entry >= std::size(cursors_)) return ARB_ERR_CURSORSTACK;
  cursors_[entry] = node ? std::optional(node->cell) : std::nullopt;
  return ARB_OK;
}

Answer PlainTree::popCursor() {
  if (producerOnly) return {ARB_ERR_MODE};
  if (cursorDepth == 0) return {ARB_ERR_CURSORSTACK};
  if (--cursorDepth >= std::size(cursors_)) return {ARB_OK};
  const std::optional<Place>& place = cursors_[cursorDepth];
  return {ARB_OK, place ? nodeAt(*place) : nullptr, true};
}

bool PlainTree::isCursorKnown() {
  if (producerOnly || cursorDepth == 0 || cursorDepth > std::size(cursors_)) return true;
  const std::optional<Place>& place = cursors_[cursorDepth - 1];
  return !place || nodeAt(*place);
}

Place PlainTree::createReference(ArbNodeRef* real, ArbString* name) {
  const Place place = take();
  at(place) = name ? ArbNodeRef{ARB_REF_NAMED, reinterpret_cast<std::uintptr_t>(name)}
                   : ArbNodeRef{ARB_REF_FLOATING, ++numbers};
  const auto slot = std::find(slots.begin(), slots.end(), nullptr);
  slot == slots.end() ? slots.push_back(real) : void(*slot = real);
  return place;
}

PlainNode* PlainTree::createNode(ArbNode* real, std::uint32_t kind, const Place* reference, ArbNodeRef* realCell) {
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

ArbStatus PlainTree::append(PlainNode* parent, PlainNode* child) {
  if (child->has(ARB_NODE_LINKED)) return ARB_ERR_ATTACHED;
  if (parent->has(ARB_NODE_CHILDREN_DONE)) return ARB_ERR_CLOSED;
  link(parent, parent->children.end(), child, parent);
  return ARB_OK;
}

ArbStatus PlainTree::insert(PlainNode* reference, PlainNode* node) {
  if (!producerOnly) return ARB_ERR_MODE;
  if (node->has(ARB_NODE_LINKED)) return ARB_ERR_ATTACHED;
  if (reference->has(ARB_NODE_CHILDREN_DONE)) return ARB_ERR_CLOSED;
  if (!reference->parent) return ARB_ERR_DETACHED;
  auto& list = reference->parent->children;
  link(reference->parent, std::find(list.begin(), list.end(), reference), node, reference);
  return ARB_OK;
}

ArbStatus PlainTree::remove(PlainNode* node) {
  if (!producerOnly) return ARB_ERR_MODE;
  if (!node->has(ARB_NODE_LINKED)) return ARB_ERR_DETACHED;
  --node->parent->count;
  unlink(node);
  node->flags &= ~std::uint32_t{ARB_NODE_LINKED | ARB_NODE_IN_TREE};
  return ARB_OK;
}

ArbStatus PlainTree::transfer(PlainNode* from, PlainNode* to) {
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

ArbStatus PlainTree::destroy(PlainNode* node) {
  if (node->has(ARB_NODE_IN_TREE)) return ARB_ERR_ATTACHED;
  free(node);
  return ARB_OK;
}

ArbStatus PlainTree::mark(PlainNode* node, std::uint32_t flag) {
  if (node->has(ARB_NODE_ATTRIBUTES_DONE)) return ARB_ERR_LOCKED;
  node->marks |= flag;
  return ARB_OK;
}

ArbStatus PlainTree::createId(PlainNode* node) {
  if (node->has(ARB_NODE_HAS_ID)) return ARB_OK;
  if (node->has(ARB_NODE_ATTRIBUTES_DONE)) return ARB_ERR_LOCKED;
  node->flags |= ARB_NODE_HAS_ID;
  return ARB_OK;
}

void PlainTree::bind(PlainNode* node, ArbString* name) {
  node->idString = name;
  bound[name] = node->cell;
}

ArbStatus PlainTree::setIdString(PlainNode* node, ArbString* name) {
  if (node->has(ARB_NODE_ATTRIBUTES_DONE)) return ARB_ERR_LOCKED;
  bind(node, name);
  node->flags |= ARB_NODE_HAS_ID;
  return ARB_OK;
}

ArbStatus PlainTree::attributesDone(PlainNode* node) {
  if (node->has(ARB_NODE_ATTRIBUTES_DONE)) return ARB_OK;
  tellHook(kAttributesHook, *node);
  node->flags |= ARB_NODE_ATTRIBUTES_DONE;
  tell(ARB_EVENT_ATTRIBUTES_DONE, *node);
  return ARB_OK;
}

ArbStatus PlainTree::allChildrenAttached(PlainNode* node) {
  node->flags |= ARB_NODE_CHILDREN_DONE;
  tell(ARB_EVENT_CHILDREN_DONE, *node);
  return ARB_OK;
}

ArbStatus PlainTree::producerDoneSubtree(PlainNode* node) {
  const bool before = node->has(ARB_NODE_ATTRIBUTES_DONE) && node->has(ARB_NODE_CHILDREN_DONE);
  for (PlainNode* child : node->children) producerDoneSubtree(child);
  return before ? ArbStatus{ARB_OK} : producerDone(node);
}

ArbStatus PlainTree::producerRelease(PlainNode* node) {
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

ArbStatus PlainTree::producerReleaseSubtree(PlainNode* node) {
  const bool before = node->has(ARB_NODE_PRODUCER_RELEASED);
  for (PlainNode* child : std::vector<PlainNode*>(node->children)) producerReleaseSubtree(child);
  if (!before) producerRelease(node);
  return ARB_OK;
}

ArbStatus PlainTree::consumerRelease(PlainNode* node) {
  if (producerOnly) return ARB_ERR_MODE;
  if (node->has(ARB_NODE_CONSUMER_RELEASED)) return ARB_ERR_RELEASED;
  tell(ARB_EVENT_CONSUMER_RELEASE, *node);
  node->flags |= ARB_NODE_CONSUMER_RELEASED;
  applyFreeRule(node);
  return ARB_OK;
}

ArbStatus PlainTree::consumerReleaseSubtree(PlainNode* node) {
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

void PlainTree::note(std::uint32_t what, const PlainNode& node) {
  happened.push_back({what, node.number, node.flags, node.parent ? node.parent->number : 0, chunkBytes, chunkNodes});
}

void PlainTree::tell(std::uint32_t event, const PlainNode& node) {
  if (callback) note(event, node);
}

void PlainTree::tellHook(std::uint32_t hook, const PlainNode& node) {
  const bool has = std::find(hooked.begin(), hooked.end(), node.kind) != hooked.end();
  if (has) note(hook, node);
}

void PlainTree::tellKind(std::uint32_t what, const PlainNode& node) {
  if (ARB_ELEMENT_NAMESPACE(node.kind) == ARB_NAMESPACE_BUILTIN) return;
  happened.push_back({what, what == kMade ? 0 : node.number});
}

Place PlainTree::take() {
  const Place place = pool_.take();
  if (cells.size() <= place.block) cells.resize(place.block + 1);
  if (cells[place.block].size() <= place.index) cells[place.block].resize(place.index + 1);
  return place;
}

void PlainTree::link(PlainNode* parent, std::vector<PlainNode*>::iterator before, PlainNode* node,
                     const PlainNode* through) {
  parent->children.insert(before, node);
  ++parent->count;
  node->parent = parent;
  node->flags |= ARB_NODE_LINKED;
  tell(ARB_EVENT_NODE_LINKED, *node);
  if (through->has(ARB_NODE_IN_TREE)) attach(node);
}

void PlainTree::unlink(PlainNode* node) {
  auto& list = node->parent->children;
  list.erase(std::find(list.begin(), list.end(), node));
  node->parent = nullptr;
}

void PlainTree::attach(PlainNode* node) {
  if (node->has(ARB_NODE_IN_TREE)) return;
  node->flags |= ARB_NODE_IN_TREE;
  chunkBytes += node->bytes;
  tell(ARB_EVENT_NODE_IN_TREE, *node);
  for (PlainNode* child : node->children) attach(child);
}

void PlainTree::applyFreeRule(PlainNode* node) {
  if (!node->has(ARB_NODE_PRODUCER_RELEASED) || !(producerOnly || node->has(ARB_NODE_CONSUMER_RELEASED))) return;
  if (node->freed < node->count || !node->children.empty() || node == root()) return;
  const PlainNode* const parent = node->parent;
  if (parent && parent->children.back() == node && !parent->has(ARB_NODE_CHILDREN_DONE)) return;
  free(node);
}

void PlainTree::free(PlainNode* node) {
  if (node->freeing) return;
  tell(ARB_EVENT_NODE_FREED, *node);
  freeBelow(node);
  settle(node);
}

void PlainTree::freeBelow(PlainNode* node) {
  node->freeing = true;
  while (!node->children.empty()) {
    PlainNode* const child = node->children.front();
    freeBelow(child);
    settle(child);
  }
}

void PlainTree::settle(PlainNode* node) {
  if (PlainNode* const parent = node->parent) {
    unlink(node);
    ++parent->freed;
    applyFreeRule(parent);
  }
  settleCell(*node);
  tellKind(kDestroyed, *node);
  nodes.erase(std::find_if(nodes.begin(), nodes.end(), [node](const auto& own) { return own.get() == node; }));
}

void PlainTree::settleCell(const PlainNode& node) {
  at(node.cell) = node.idString ? ArbNodeRef{ARB_REF_FREED_ID, reinterpret_cast<std::uintptr_t>(node.idString)}
                                : ArbNodeRef{ARB_REF_FREED, node.number};
  if (node.has(ARB_NODE_HAS_ID) || (node.marks & ARB_NODE_SEPARATE_STREAM)) return;
  const auto binding = bound.find(node.idString);
  if (binding != bound.end() && binding->second == node.cell) bound.erase(binding);
  pool_.giveBack(node.cell);
}

}  // namespace arbtree::test
