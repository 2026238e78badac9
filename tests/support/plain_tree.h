// A tree in its plainest form, with recursion and searches wherever they are simplest: the model that random calls are
// compared with. It knows nodes, flags, releases, the free rule, cells, pending references and their slots, ID strings,
// the chunk's counters, and what the host's functions are told.
#ifndef ARBTREE_TESTS_SUPPORT_PLAIN_TREE_H
#define ARBTREE_TESTS_SUPPORT_PLAIN_TREE_H

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "arbtree/arbtree.h"
#include "support/plain_pool.h"

namespace arbtree::test {

// An event, or one of these, with the number of the node that it is about, and how things are at that moment: the
// node's flags, its parent's number or 0, and the bytes and nodes in the chunk.
constexpr std::uint32_t kMade = 100, kDestroyed = 101, kAttributesHook = 102, kReleaseHook = 103;
struct Happening {
  std::uint32_t what, number, flags = 0, parent = 0, bytes = 0, nodes = 0;
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
  std::uint32_t numbers = 0, chunkNodes = 0, chunkBytes = 0, cursorDepth = 0;
  std::vector<Happening> happened;
  std::vector<std::unique_ptr<PlainNode>> nodes;  // the living ones; the root is the first
  std::vector<std::vector<ArbNodeRef>> cells;     // by block and index, as far as they were ever used
  std::vector<ArbNodeRef*> slots;                 // of pending references, null where free
  std::map<ArbString*, Place> bound;              // which cell a name leads to

  PlainNode* root() const { return nodes.front().get(); }
  ArbNodeRef& at(Place place) { return cells[place.block][place.index]; }
  PlainNode* nodeAt(Place place);

  // A Wait is over when the answer is known or production has ended, so it is answered from what exists.
  Answer step(Relative which, bool wait, const PlainNode* from) const;
  Answer search(Relative first, Relative next, bool wait, const PlainNode* from, std::uint32_t id) const;
  // The Get calls: only the producer's release of the node itself is in their way.
  static Answer get(Relative first, Relative next, const PlainNode* from, std::uint32_t id);

  // Positions are cells, so that a popped one leads to whatever node the cell leads to by then.
  ArbStatus pushCursor(const PlainNode* node);
  Answer popCursor();
  // Popping needs no run.
  bool isCursorKnown();

  // A reference made ahead; the slot is the lowest free one.
  Place createReference(ArbNodeRef* real, ArbString* name);

  // `reference` is the place of a pending reference, whose cell is `realCell`; or null.
  PlainNode* createNode(ArbNode* real, std::uint32_t kind, const Place* reference, ArbNodeRef* realCell);

  ArbStatus append(PlainNode* parent, PlainNode* child);
  ArbStatus insert(PlainNode* reference, PlainNode* node);
  ArbStatus remove(PlainNode* node);
  // The counts of freed children stay behind.
  ArbStatus transfer(PlainNode* from, PlainNode* to);
  ArbStatus destroy(PlainNode* node);

  ArbStatus mark(PlainNode* node, std::uint32_t flag);
  ArbStatus createId(PlainNode* node);
  void bind(PlainNode* node, ArbString* name);
  ArbStatus setIdString(PlainNode* node, ArbString* name);

  ArbStatus attributesDone(PlainNode* node);
  ArbStatus allChildrenAttached(PlainNode* node);
  ArbStatus producerDone(PlainNode* node) { return attributesDone(node), allChildrenAttached(node); }
  ArbStatus producerDoneSubtree(PlainNode* node);
  ArbStatus producerRelease(PlainNode* node);
  ArbStatus producerReleaseSubtree(PlainNode* node);
  ArbStatus consumerRelease(PlainNode* node);
  // Production has ended, so every wait is answered from what exists.
  ArbStatus consumerReleaseSubtree(PlainNode* node);

 private:
  void note(std::uint32_t what, const PlainNode& node);
  void tell(std::uint32_t event, const PlainNode& node);
  void tellHook(std::uint32_t hook, const PlainNode& node);
  // Factory and destroyer of the test's own kind; a node has no number yet when its factory runs.
  void tellKind(std::uint32_t what, const PlainNode& node);

  Place take();

  void link(PlainNode* parent, std::vector<PlainNode*>::iterator before, PlainNode* node, const PlainNode* through);
  void unlink(PlainNode* node);
  void attach(PlainNode* node);

  void applyFreeRule(PlainNode* node);
  void free(PlainNode* node);
  void freeBelow(PlainNode* node);
  void settle(PlainNode* node);
  void settleCell(const PlainNode& node);

  PlainPool pool_;
  std::optional<Place> cursors_[128];
};

}  // namespace arbtree::test

#endif
