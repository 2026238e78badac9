// Telling the host's functions what happens to a tree's nodes: the document's event callbacks, and the tree's producer
// node hooks.
//
// The calls that every node of a stream passes through exist twice, from one source, and observe() chooses: for a tree
// that nobody observes the raising is left out, and the compiler knows that no function of the host changes anything on
// the way. A step that goes on after a function of the host has run must not rely on its choice any more.
#ifndef ARBTREE_TREE_OBSERVERS_H
#define ARBTREE_TREE_OBSERVERS_H

#include "document/events.h"
#include "tree/node.h"

namespace arbtree {

struct Observed {};
struct Unobserved {};

constexpr bool isObserved(Observed) { return true; }
constexpr bool isObserved(Unobserved) { return false; }

inline void raiseEvent(Observed, std::uint32_t event, ArbNode& node) { raiseEvent(documentOf(node), event, &node); }
inline void raiseEvent(Unobserved, std::uint32_t, ArbNode&) {}

// Gives the status of the hooks of an event.
inline ArbStatus raiseHook(Observed, std::uint32_t event, ArbNode& node) {
  if (node.tree->hookCount == 0) return ARB_OK;
  return ArbTreeCallProducerNodeHook(node.tree, event, elementIdOf(node), &node, nullptr);
}
inline ArbStatus raiseHook(Unobserved, std::uint32_t, ArbNode&) { return ARB_OK; }

// Out of line, so that the unobserved way keeps the registers to itself.
template <typename Step>
[[gnu::noinline]] ArbStatus takeObserved(Step step) {
  return step(Observed{});
}

template <typename Step>
[[gnu::always_inline]] inline ArbStatus observe(const ArbNode& node, Step step) {
  const bool observed = (documentOf(node).callbackCount | node.tree->hookCount) != 0;
  if (observed) [[unlikely]]
    return takeObserved(step);
  return step(Unobserved{});
}

}  // namespace arbtree

#endif
