// The walk of both subtree releases of forests: the forests nested in one, and their children, children before their
// forest, without recursion.
//
// Releasing a child may append more of them, and on the consumer's side runs the producer. So the walk keeps its place
// in the forests themselves: each nested one keeps the sibling that came after it when the walk entered it.
#ifndef ARBTREE_CHILDDOCS_FOREST_RELEASE_H
#define ARBTREE_CHILDDOCS_FOREST_RELEASE_H

#include "childdocs/child_record.h"

namespace arbtree {

// Releases what is in `start`, then the forest itself. The answer is the first failure among the children. A Side has
//
//   skips(child)      nothing is to be done for the child
//   check(child)      the status that keeps the walk out of a nested forest
//   release(child)    the side's release of one child
//   resumeAt(forest)  where the forest keeps its next sibling
template <typename Side>
ArbStatus releaseForests(ArbForest& start) {
  ArbStatus firstFailure = ARB_OK;
  ArbForest* forest = &start;
  ArbForestChild* child = forest->firstChild;
  for (;;) {
    while (child) {
      ArbForestChild* const next = child->nextSibling;
      if (!Side::skips(*child)) {
        const bool isForest = child->kind == ARB_CHILD_FOREST;
        const ArbStatus status = isForest ? Side::check(*child) : Side::release(*child);
        if (isForest && status == ARB_OK) {
          forest = asForest(child);
          Side::resumeAt(*forest) = next;
          child = forest->firstChild;
          continue;
        }
        if (firstFailure == ARB_OK) firstFailure = status;
      }
      child = next;
    }
    Side::release(forest->child);
    if (forest == &start) return firstFailure;
    child = Side::resumeAt(*forest);
    forest = forest->child.parent;
  }
}

}  // namespace arbtree

#endif
