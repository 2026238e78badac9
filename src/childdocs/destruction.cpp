// Destroying forests and files. A destroyed child unlinks itself from its forest; the forest's childCount stays.
#include "childdocs/child_record.h"
#include "document/document.h"
#include "platform/heap.h"
#include "tree/metadata.h"
#include "tree/tree.h"

namespace arbtree {
namespace {

void destroyLeaf(ArbForestChild& child) {
  if (child.kind == ARB_CHILD_TREE) {
    ArbTreeDestroy(asTree(&child));
  } else {
    ArbFileDestroy(reinterpret_cast<ArbFile*>(&child));
  }
}

void destroyEmptied(ArbForest& forest) {
  unlinkChild(forest.child);
  heap::release(&forest, sizeof forest);
}

// Depth first, without recursion: the way back from a nested forest is its parent, the way on its next sibling. No
// destructor of a child that exists can fail.
void destroyForest(ArbForest& start) {
  ArbForest* forest = &start;
  metadata::clear(forest->child.metadata);
  ArbForestChild* child = forest->firstChild;
  for (;;) {
    while (child) {
      if (child->kind == ARB_CHILD_FOREST) {
        forest = asForest(child);
        metadata::clear(child->metadata);
        child = forest->firstChild;
      } else {
        ArbForestChild* const next = child->nextSibling;
        destroyLeaf(*child);
        child = next;
      }
    }
    const bool finished = forest == &start;
    ArbForest* const parent = forest->child.parent;
    child = forest->child.nextSibling;
    destroyEmptied(*forest);
    if (finished) return;
    forest = parent;
  }
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbForestDestroy(ArbForest* forest) {
  if (!forest) return ARB_ERR_BADARG;
  destroyForest(*forest);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbFileDestroy(ArbFile* file) {
  if (!file) return ARB_ERR_BADARG;
  metadata::clear(file->child.metadata);
  unlinkChild(file->child);
  heap::release(file, sizeof *file);
  return ARB_OK;
}
