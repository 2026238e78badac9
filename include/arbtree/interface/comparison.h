/**
 * \file
 * Comparing, hashing and copying nodes and subtrees.
 */
#ifndef ARBTREE_INTERFACE_COMPARISON_H
#define ARBTREE_INTERFACE_COMPARISON_H

#include "arbtree/interface/basics.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup comparison Compare, hash and copy subtrees
 * These calls look at what is linked now and never run the producer, and they use no stack that grows with the depth of
 * the tree. What a kind holds is compared, hashed and copied by its descriptor's operations if it has
 * ARB_TYPE_ATTR_FUNCTIONS, which they may call, else byte by byte. Numbers, ID strings, flags and marks play no part.
 * \{
 */

/**
 * Compares what two nodes hold, children left aside. Both must be of one kind, which is not checked: that of a decides
 * how they are compared. Records that are compared byte by byte are so over the length of the attribute area of a: where
 * their sizes differ, the answer may depend on which of the two is a.
 *
 * \return 1 when they are equal, else 0; 0 when a node is null.
 */
ARB_API uint32_t ARB_CALL ArbNodeAttributesAreEqual(ArbNode *a, ArbNode *b);

/**
 * Compares two subtrees: same element id, childCount and attributes, and equal children, pair by pair. Freed children
 * are in childCount but have no pair: the comparison ends with the shorter list. Metadata plays no part. Either node
 * may be null. For records of different sizes see ArbNodeAttributesAreEqual.
 *
 * \return 1 when they are equal, two nulls included, else 0.
 */
ARB_API uint32_t ARB_CALL ArbNodeIsEqual(ArbNode *a, ArbNode *b);

/**
 * Hashes a subtree: the exclusive-or of element id, childCount and attributes' hash of every node. Equal subtrees of
 * which no node has been freed, with records of the same sizes, hash alike. The order of children does not count, and
 * two equal children cancel out. Texts and bytes are folded by words of 32 bits, which also lets much of a text cancel
 * out: for a large table of subtrees add a hash that knows order. The built-in external reference starts from `target`,
 * taken as 32 bits, and takes in each unit of the name by exclusive-or and a multiplication by 16777619 (as FNV-1a).
 *
 * \return The hash; 0 for a null node.
 */
ARB_API uint32_t ARB_CALL ArbNodeHashCode(ArbNode *node);

/**
 * Copies a node without its children, in `tree`, which may be null for the node's own, and may belong to another
 * document. The copy has the value or attributes and the metadata of the source, but its own number, and none of its
 * identifiers, flags and marks. Attributes whose id has the top byte 0x37 are not copied; a copy of encoded bytes has
 * encodingFlags 0; a copied external reference has the target and the name of the source.
 *
 * The copy is announced as by ArbTreeCreateNode, before it has its value; the source must outlive the call. The copy of a root counts as linked and in
 * the tree: it can be appended nowhere and is freed by its releases alone. A value, attribute or metadata entry that
 * found no memory is missing from the copy, which is not reported. Set *copy to null before the call, since a failure
 * is announced with what it holds.
 *
 * \retval ARB_OK *copy is a new node in no child list, the caller's as by ArbTreeCreateNode
 * \retval ARB_ERR_LOCKED, ARB_ERR_NOTFOUND, ARB_ERR_NOMEMORY as for ArbTreeCreateNode; *copy is untouched
 */
ARB_API ArbStatus ARB_CALL ArbNodeClone(ArbNode *node, ArbTree *tree, ArbNode **copy);

/**
 * Copies a node as ArbNodeClone does, and likewise all its descendants, linked as in the source, with the events of
 * ArbTreeCreateNode and ArbNodeAppendChild. The copies' attributes and child lists are left open.
 *
 * A failure ends the copying: *copy is untouched if the top copy could not be made; else it is the top copy with the
 * finished copies of its children below it, to be freed with ArbNodeDestroy (but see ArbNodeClone for a root). A copy
 * further down that was not finished is linked nowhere, and as much the caller's to free: a host that copies what may
 * fail below the first level notes the nodes of ARB_EVENT_NODE_CREATED meanwhile, and destroys those without
 * ARB_NODE_LINKED.
 *
 * \retval ARB_OK *copy is the top copy, in no child list (but see ArbNodeClone for a root)
 * \retval ARB_ERR_LOCKED, ARB_ERR_NOTFOUND as for ArbTreeCreateNode
 * \retval ARB_ERR_NOMEMORY as for ArbTreeCreateNode; also no memory for the walk's way back
 * \retval ARB_ERR_ATTACHED, ARB_ERR_CLOSED as for ArbNodeAppendChild, after an event callback has linked or closed a
 *   copy
 */
ARB_API ArbStatus ARB_CALL ArbNodeCloneSubtree(ArbNode *node, ArbTree *tree, ArbNode **copy);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_COMPARISON_H */
