// What all child documents share: how their records are made, how a destroyed one leaves its forest.
//
// Invariants of a forest: its children are a doubly linked list from firstChild to lastChild in order of appending;
// every child in it has ARB_CHILD_ATTACHED and `parent` set; childCount counts appends and never goes down.
#ifndef ARBTREE_CHILDDOCS_CHILD_RECORD_H
#define ARBTREE_CHILDDOCS_CHILD_RECORD_H

#include <cstdint>

#include "arbtree/arbtree.h"

namespace arbtree {

inline constexpr std::uint16_t kForestFormat = 1998;
inline constexpr std::uint16_t kTreeFormat = 1150;
inline constexpr std::uint16_t kPackedForestFormat = 1802;

// Sets the header of a zeroed record, names the child from the pattern and counts it against the chunk's budget.
void initChild(ArbForestChild& child, ArbDocument& document, std::uint32_t kind, std::uint16_t formatId,
               const char16_t* nameTemplate);

// Takes a child that is going away out of its siblings' links and off its parent's ends.
void unlinkChild(ArbForestChild& child);

inline bool has(const ArbForestChild& child, std::uint32_t flag) { return (child.flags & flag) != 0; }

inline ArbForestChild* asChild(ArbForest* forest) { return &forest->child; }
inline ArbForest* asForest(ArbForestChild* child) { return reinterpret_cast<ArbForest*>(child); }
inline const ArbForest* asForest(const ArbForestChild* child) { return reinterpret_cast<const ArbForest*>(child); }

}  // namespace arbtree

#endif
