#include "tree/attach.h"

namespace arbtree {
namespace {

// The nodes between the one that was linked and the one that is being announced. Linking allocates nothing, so the
// topmost levels alone are noted: below those the way back is the parent link, which a callback may have cut.
class WayBack {
 public:
  bool isEmpty() const { return depth_ == 0; }
  void push(const ArbNode& node) {
    if (depth_ < kNoted) noted_[depth_] = NodeWatch(node);
    ++depth_;
  }
  // The node last pushed, from which the walk has come to `below`; null when one of them is gone.
  ArbNode* pop(const ArbNode* below) {
    --depth_;
    if (depth_ < kNoted) return noted_[depth_].get();
    return below ? parentOf(*below) : nullptr;
  }

 private:
  static constexpr std::uint64_t kNoted = 64;

  NodeWatch noted_[kNoted];
  std::uint64_t depth_ = 0;
};

}  // namespace

[[gnu::noinline]] void notifyDescendantsAttached(ArbNode& start) {
  WayBack ancestors;
  for (ArbNode* node = firstChildOf(start); node;) {
    const NodeWatch watch(*node);
    ArbNode* child = nullptr;
    if (!has(*node, ARB_NODE_IN_TREE)) {
      enterTree(Observed{}, *node);
      if (watch.isAlive()) child = firstChildOf(*node);
    }
    if (child) {
      ancestors.push(*node);
      node = child;
      continue;
    }
    ArbNode* at = watch.get();
    node = at ? nextSiblingOf(*at) : nullptr;
    while (!node && !ancestors.isEmpty()) {
      at = ancestors.pop(at);
      node = at ? nextSiblingOf(*at) : nullptr;
    }
  }
}

}  // namespace arbtree
