/**
 * \file
 * References to nodes, also to nodes that do not exist yet, and the identifiers of nodes.
 */
#ifndef ARBTREE_INTERFACE_REFERENCES_H
#define ARBTREE_INTERFACE_REFERENCES_H

#include "arbtree/interface/node.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup references Refer to nodes
 * A reference is a cell: a node's own, or one made ahead of its node, on which ArbTreeCreateNode then makes the node.
 * Once the node is freed its cell may go to another node, and references to it with it, unless the node was marked by
 * ArbNodeCreateID, ArbNodeSetIDString or ArbNodeSetSeparateStream: then the cell goes on telling which node it was, and
 * is kept as long as the tree, also when another node, marked or not, is made on it.
 * \{
 */

/**
 * Makes a reference to a node to come and reserves the next node number for it. If no node is ever made on it, it stays
 * without one as long as the tree.
 *
 * \retval ARB_OK *reference is the tree's
 * \retval ARB_ERR_LOCKED the producer has declared the tree done; *reference is untouched
 * \retval ARB_ERR_NOMEMORY no number is used up; *reference is untouched
 */
ARB_API ArbStatus ARB_CALL ArbTreeCreateFloatingNodeReference(ArbTree *tree, ArbNodeRef **reference);

/**
 * Gives the reference bound to a name, a string of the tree's document. A name is bound once a node has it as its ID
 * string, set or generated: the answer is then that node's own cell, whichever tree it is in. Otherwise a new reference
 * is made that carries the name to the node to come; a second call before the name is bound makes another. A node made
 * on a named reference has the name as its ID string, but binds it only by ArbNodeSetIDString.
 *
 * The binding lasts beyond the life of a marked node: the answer is then a reference without a node, unless another one
 * has been made on it. It ends when an unmarked node is freed, unless its cell was kept for an earlier one, and when the
 * tree is destroyed.
 *
 * \retval ARB_OK *reference is the tree's, as for ArbTreeCreateFloatingNodeReference, or that of the node's tree
 * \retval ARB_ERR_BADARG the name is null
 * \retval ARB_ERR_LOCKED the producer has declared the tree done; *reference is untouched
 * \retval ARB_ERR_NOMEMORY *reference is null
 */
ARB_API ArbStatus ARB_CALL ArbTreeCreateNamedNodeReference(ArbTree *tree, ArbString *name, ArbNodeRef **reference);

/**
 * The node that a reference leads to, without running the producer. The node pointer may be null; it is cleared. Works
 * in every document.
 *
 * \retval ARB_OK *node is the node; null for a null reference
 * \retval ARB_ERR_NOTREADY no node yet or any more
 */
ARB_API ArbStatus ARB_CALL ArbNodeRefQueryNode(ArbNodeRef *reference, ArbNode **node);

/**
 * The node that a reference leads to; `document` is the one that the reference belongs to. result may be null; it is
 * cleared. No node yet: runs the producer. A reference whose node has been freed takes production to its end.
 *
 * \retval ARB_OK *result is the node; null for a null reference, when production ended without the node, and when it
 *   has been freed
 * \retval ARB_ERR_MODE the document is producer-only
 * \return Or a run's failure, with null, or with the node if the failing run still made it.
 */
ARB_API ArbStatus ARB_CALL ArbNodeRefWaitNode(ArbNodeRef *reference, ArbDocument *document, ArbNode **result);

/**
 * The ID string of the node that a reference leads to; of a named reference without a node, the name. A node without
 * one is given the string "ID" and its number in lowercase hexadecimal, which it keeps and which is then bound to its
 * cell. The string is the document's. idString may be null; it is cleared. Without running the producer; works in every
 * document.
 *
 * \retval ARB_OK *idString is the string; null for a null reference, and when a string could not be made for want of
 *   memory: ask again
 * \retval ARB_ERR_NOTREADY a floating reference without a node, a freed node, or a node whose attributes are not done,
 *   since its ID string can still be set
 */
ARB_API ArbStatus ARB_CALL ArbNodeRefQueryIdString(ArbNodeRef *reference, ArbString **idString);

/**
 * The ID string as by ArbNodeRefQueryIdString, running the producer until the node is there and its attributes are
 * done; `document` is the one that the reference belongs to. idString may be null; it is written when the call returns.
 * A named reference without a node is answered at once, with its name.
 *
 * \retval ARB_OK *idString is the string; null as by ArbNodeRefQueryIdString, when production ended without the node,
 *   and when it has been freed
 * \retval ARB_ERR_MODE the document is producer-only
 * \return Or a run's failure on the way to the node. A failure on the way to the attributes is not reported: the node's
 *   string, made if there is none, is then answered all the same.
 */
ARB_API ArbStatus ARB_CALL ArbNodeRefWaitIdString(ArbNodeRef *reference, ArbDocument *document, ArbString **idString);

/**
 * Marks the node as referred to (ARB_NODE_HAS_ID), so that its cell outlives it.
 *
 * \retval ARB_OK the node is marked, now or before
 * \retval ARB_ERR_LOCKED the node's attributes are done and it has no mark
 */
ARB_API ArbStatus ARB_CALL ArbNodeCreateID(ArbNode *node);

/**
 * Gives the node a string of its document as its ID string, in place of any earlier one, marks it as ArbNodeCreateID
 * does, and binds the string to the node's cell, in place of any earlier binding of that string.
 *
 * \retval ARB_OK the node has the string
 * \retval ARB_ERR_BADARG the string is null; or, looked at after ARB_ERR_LOCKED, the node has no cell, as only a node
 *   not made by ArbTreeCreateNode
 * \retval ARB_ERR_LOCKED the node's attributes are done
 * \retval ARB_ERR_NOMEMORY the tree could not note the binding; the node is unchanged
 */
ARB_API ArbStatus ARB_CALL ArbNodeSetIDString(ArbNode *node, ArbString *idString);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_REFERENCES_H */
