/**
 * \file
 * Building a tree: making nodes and linking them into child lists.
 */
#ifndef ARBTREE_INTERFACE_BUILDING_H
#define ARBTREE_INTERFACE_BUILDING_H

#include "arbtree/interface/node.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup building Make and link nodes
 * The producer's calls. A node belongs to its tree from the start, and goes with it once it is connected to the root;
 * until then its maker frees it with ArbNodeDestroy.
 * \{
 */

/**
 * Makes a node of a kind, through the factory of the element id's namespace. cell is null, or a reference of this tree
 * that has no node yet: the reference then leads to the new node, which takes over the reserved number or the name. It
 * may also be a cell kept for a node that has been freed; the new node takes over nothing then. It counts as one node
 * of the current chunk.
 *
 * *node is written only on success. Raises ARB_EVENT_NODE_CREATED with *node on success and on each failure but
 * ARB_ERR_BADARG: set *node to null before the call, and a failure is announced with null.
 *
 * \retval ARB_OK *node is in no child list, its attributes and child list open. The producer links it into the tree or
 *   frees it with ArbNodeDestroy; a node never linked does not go with its tree. A further ARB_ELEM_ROOT counts as linked
 *   and in the tree: it can be appended nowhere and is freed by its releases alone
 * \retval ARB_ERR_LOCKED the producer has declared the tree done (ArbForestChildProducerDone)
 * \retval ARB_ERR_NOTFOUND the namespace has no factory, or the factory made no node: an element id that it does not
 *   know, an external reference before the document's first run has ended, or no memory for the record of a built-in
 *   kind
 * \retval ARB_ERR_NOMEMORY no memory for the cell or for a table of the tree; no node is left, and the call may be
 *   repeated
 */
ARB_API ArbStatus ARB_CALL ArbTreeCreateNode(ArbTree *tree, uint32_t elementId, ArbNodeRef *cell, ArbNode **node);

/**
 * Frees a node that is not connected to the root, with its subtree. Raises ARB_EVENT_NODE_FREED once, with the node,
 * and calls the destroyers of the nodes' namespaces. A node in a child list leaves it, and its parent is freed too,
 * with an event of its own, when that was all that kept it. A node that is being freed already is left alone.
 *
 * \retval ARB_OK the node is gone
 * \retval ARB_ERR_ATTACHED the node has ARB_NODE_IN_TREE, as the descendants of a removed node also still have
 * \retval ARB_ERR_NOTFOUND as ARB_OK, but the namespace of the node's kind has no factory here, so its record stays
 *   allocated
 */
ARB_API ArbStatus ARB_CALL ArbNodeDestroy(ArbNode *node);

/**
 * Appends a node, with its subtree, as the last child. If the parent is connected to the root the node and its
 * descendants join the tree: each is counted against the chunk's bytes. Raises ARB_EVENT_NODE_LINKED with the child,
 * then ARB_EVENT_NODE_IN_TREE with each node that joins, in document order. It is not checked that the child is no
 * ancestor of the parent.
 *
 * \retval ARB_OK the child is linked
 * \retval ARB_ERR_ATTACHED the child is in a child list already, or is a root
 * \retval ARB_ERR_CLOSED the parent's list is closed
 * \retval ARB_ERR_FOREIGN the two belong to different trees
 */
ARB_API ArbStatus ARB_CALL ArbNodeAppendChild(ArbNode *parent, ArbNode *child);

/**
 * Producer-only documents: links a node, with its subtree, directly before a node that is in a child list. Joins,
 * counts and raises events as ArbNodeAppendChild, when the reference node is connected to the root. Whether the list
 * itself is closed plays no part.
 *
 * \retval ARB_OK the node is linked
 * \retval ARB_ERR_MODE the document has a consumer
 * \retval ARB_ERR_BADARG the node is null; a null reference is answered so before all else
 * \retval ARB_ERR_ATTACHED the node is in a child list already, or is a root
 * \retval ARB_ERR_CLOSED the reference node's own child list is closed
 * \retval ARB_ERR_FOREIGN the two belong to different trees
 * \retval ARB_ERR_DETACHED the reference node is in no child list
 */
ARB_API ArbStatus ARB_CALL ArbNodeInsertSiblingBefore(ArbNode *reference, ArbNode *node);

/**
 * Producer-only documents: takes a node, with its subtree, out of its parent's child list. No event is raised, and the
 * chunk's bytes stay counted. The node may be linked again or freed with ArbNodeDestroy; it no longer goes with its
 * tree. Its descendants keep ARB_NODE_IN_TREE and are neither announced nor counted when it is linked again. The node
 * must not be the root.
 *
 * \retval ARB_OK the node is in no child list
 * \retval ARB_ERR_MODE the document has a consumer
 * \retval ARB_ERR_DETACHED the node was in no child list
 */
ARB_API ArbStatus ARB_CALL ArbNodeRemoveFromTree(ArbNode *node);

/**
 * Moves all children of one node, in order, to the end of another's child list. No event is raised and nothing is
 * counted: the children stay in or out of the tree as they were. The two must belong to one tree, and `to` must not be
 * a descendant of `from`. Children of `from` that were freed move in childCount but not in freedChildCount: releases no
 * longer free `to`, and children that `from` gets later keep it although its counts say that all have been freed.
 *
 * \retval ARB_OK the children are moved
 * \retval ARB_ERR_LOCKED the attributes of `from` are done
 * \retval ARB_ERR_CLOSED the list of `from` is closed, or that of `to`, or `from` is connected to the root of a
 *   document with a consumer
 * \retval ARB_ERR_BADARG both are the same node
 */
ARB_API ArbStatus ARB_CALL ArbNodeTransferChildren(ArbNode *from, ArbNode *to);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_BUILDING_H */
