// A tree's table of node factories: which namespace is served by whom.
//
// Entries are filled from the first, in order of registration, and never removed; the first free entry (null create
// function) ends the table. A look-up leaves what it found in lastFactory, so that a run of nodes of one namespace
// scans the table once. The built-in namespace needs no table.
#ifndef ARBTREE_NODETYPES_FACTORY_TABLE_H
#define ARBTREE_NODETYPES_FACTORY_TABLE_H

#include "tree/tree.h"

namespace arbtree {

// The built-in entry, or the one found last, if it serves the namespace; null otherwise.
inline const FactoryEntry* findKnownFactory(const ArbTree& tree, std::uint32_t elementNamespace) {
  if (elementNamespace == ARB_NAMESPACE_BUILTIN) return &tree.builtinFactory;
  const FactoryEntry& last = tree.lastFactory;
  return last.create && last.elementNamespace == elementNamespace ? &last : nullptr;
}

// Scans the table and remembers what it finds; null when no entry serves the namespace.
const FactoryEntry* scanFactories(ArbTree& tree, std::uint32_t elementNamespace);

inline const FactoryEntry* findFactory(ArbTree& tree, std::uint32_t elementNamespace) {
  const FactoryEntry* const known = findKnownFactory(tree, elementNamespace);
  return known ? known : scanFactories(tree, elementNamespace);
}

}  // namespace arbtree

#endif
