/**
 * \file
 * Stepping from a node to its relatives, and waiting until a node is complete.
 */
#ifndef ARBTREE_INTERFACE_NAVIGATION_H
#define ARBTREE_INTERFACE_NAVIGATION_H

#include "arbtree/interface/basics.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup navigation Step through a tree
 * The consumer's calls. Query calls answer from what is linked; Wait calls run the producer until they can answer. A
 * child list is final once it is closed; children that were freed are passed over. When production has ended everything
 * that exists is final. Results are untouched by failures, unless they are cleared.
 * \{
 */

/**
 * The tree's root node. It is made with the tree, so neither call normally has anything to wait for. node may be null.
 * The consumer's release of the root plays no part.
 *
 * - Query, not there yet: ARB_ERR_NOTREADY, *node untouched.
 * - Wait, not there yet: runs the producer. *node is the root, or null when production ended without one (ARB_OK) or on
 *   a run's failure.
 *
 * \retval ARB_OK *node is the root
 * \retval ARB_ERR_MODE the document is producer-only; *node is untouched
 * \retval ARB_ERR_NOTREADY Query: not there yet
 * \return Wait: or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbTreeQueryRootNode(ArbTree *tree, ArbNode **node);
/** \copydoc ArbTreeQueryRootNode */
ARB_API ArbStatus ARB_CALL ArbTreeWaitRootNode(ArbTree *tree, ArbNode **node);

/**
 * The number of children; freed ones count, removed ones do not. count may be null; it is cleared.
 *
 * - Query, list open: ARB_ERR_NOTREADY and the number so far.
 * - Wait, list open: runs the producer; ARB_OK and 0 when production ended with the list open, even if it has children;
 *   a run's failure and 0.
 *
 * \retval ARB_OK *count is the final number
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer has released the node
 * \retval ARB_ERR_NOTREADY Query: the list is open
 * \return Wait: or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbNodeQueryChildCount(ArbNode *node, uint32_t *count);
/** \copydoc ArbNodeQueryChildCount */
ARB_API ArbStatus ARB_CALL ArbNodeWaitChildCount(ArbNode *node, uint32_t *count);

/**
 * The first child, or null: the list is closed and has none.
 *
 * - Query, not there yet: ARB_ERR_NOTREADY.
 * - Wait, not there yet: runs the producer; ARB_OK with null when production ended without a child.
 *
 * \retval ARB_OK *result is the child or null
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer has released the node
 * \retval ARB_ERR_NOTREADY Query: no child yet, and the list is open
 * \return Wait: or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbNodeQueryFirstChild(ArbNode *node, ArbNode **result);
/** \copydoc ArbNodeQueryFirstChild */
ARB_API ArbStatus ARB_CALL ArbNodeWaitFirstChild(ArbNode *node, ArbNode **result);

/**
 * The last child, known only once the list is closed; null: it has none.
 *
 * - Query, list open: ARB_ERR_NOTREADY even if there are children.
 * - Wait, list open: runs the producer; when production ended first, ARB_OK with the last child so far, or null.
 *
 * \retval ARB_OK *result is the child or null
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer has released the node
 * \retval ARB_ERR_NOTREADY Query: the list is open
 * \return Wait: or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbNodeQueryLastChild(ArbNode *node, ArbNode **result);
/** \copydoc ArbNodeQueryLastChild */
ARB_API ArbStatus ARB_CALL ArbNodeWaitLastChild(ArbNode *node, ArbNode **result);

/**
 * The next sibling, or null: the node is the last of a closed list. For a node in no child list, the root included,
 * ARB_OK and *result untouched: set it to null before the call.
 *
 * - Query, not there yet: ARB_ERR_NOTREADY.
 * - Wait, not there yet: runs the producer; ARB_OK with null when production ended without one.
 *
 * \retval ARB_OK *result is the sibling or null
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer has released the node
 * \retval ARB_ERR_NOTREADY Query: no next sibling yet, and the list is open
 * \return Wait: or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbNodeQueryNextSibling(ArbNode *node, ArbNode **result);
/** \copydoc ArbNodeQueryNextSibling */
ARB_API ArbStatus ARB_CALL ArbNodeWaitNextSibling(ArbNode *node, ArbNode **result);

/**
 * The previous sibling, or null if there is none. It never has to wait. The node's release plays no part.
 *
 * \retval ARB_OK *result is the sibling or null
 * \retval ARB_ERR_MODE the document is producer-only
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitPrevSibling(ArbNode *node, ArbNode **result);

/**
 * The parent, or null for a node in no child list. It never has to wait.
 *
 * \retval ARB_OK *result is the parent or null
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer has released the node
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitParent(ArbNode *node, ArbNode **result);

/**
 * Waits until the child list is closed, running the producer. The consumer's release plays no part; a released node
 * that a run frees ends the wait with ARB_OK, and must not be looked at then.
 *
 * \retval ARB_OK the list is closed, or production ended with the list open: node->flags tells
 * \retval ARB_ERR_MODE the document is producer-only
 * \return Or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitAllChildrenAttached(ArbNode *node);

/**
 * Waits until the attributes are done, running the producer. The consumer's release plays no part; a released node that
 * a run frees ends the wait with ARB_OK, and must not be looked at then.
 *
 * \retval ARB_OK the attributes are done, or production ended first: node->flags tells
 * \retval ARB_ERR_MODE the document is producer-only
 * \return Or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitAttributesDone(ArbNode *node);

/**
 * Waits until the node's attributes are done and its child list is closed, running the producer. The consumer's release
 * plays no part; a released node that a run frees ends the wait with ARB_OK, and must not be looked at then.
 *
 * \retval ARB_OK the node is complete, or production ended first: node->flags tells
 * \retval ARB_ERR_MODE the document is producer-only
 * \return Or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitProducerDone(ArbNode *node);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_NAVIGATION_H */
