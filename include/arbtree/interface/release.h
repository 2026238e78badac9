/**
 * \file
 * Completing nodes, and releasing them: when a node is freed.
 */
#ifndef ARBTREE_INTERFACE_RELEASE_H
#define ARBTREE_INTERFACE_RELEASE_H

#include "arbtree/interface/basics.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup release Complete and release nodes
 * A node is freed as soon as all of these hold:
 *
 * - the producer has released it, and so has the consumer, unless the document is producer-only;
 * - all its children have been freed;
 * - it is not the root, which goes with its tree;
 * - it is not the last child of a child list that is still open.
 *
 * They are looked at when either side releases the node and when one of its children is freed, at no other time:
 * closing the parent's list does not free its last child. A consumer therefore asks for the next sibling before it
 * releases a node. Any release may so free the node, then its parent, and so on upwards; each raises
 * ARB_EVENT_NODE_FREED and calls the destroyers of the nodes' namespaces. A side that has released a node uses it no
 * more; until then (in a producer-only document: the producer) the node stays, unless its tree is destroyed.
 * \{
 */

/**
 * The node's attributes are final: setting its identifier or a mark, or transferring its children away, is refused from
 * now on. Calls the hooks of ARB_HOOK_ATTRIBUTES_DONE, to which the attributes are still open, then raises
 * ARB_EVENT_ATTRIBUTES_DONE. Already done: nothing is called.
 *
 * \retval ARB_OK always; a hook cannot make it fail
 */
ARB_API ArbStatus ARB_CALL ArbNodeAttributesDone(ArbNode *node);

/**
 * Closes the child list: all children have been linked. Raises ARB_EVENT_CHILDREN_DONE, on every call.
 *
 * \retval ARB_OK always
 */
ARB_API ArbStatus ARB_CALL ArbNodeAllChildrenAttached(ArbNode *node);

/**
 * ArbNodeAttributesDone and ArbNodeAllChildrenAttached in one call, with their hooks and events.
 *
 * \retval ARB_OK always
 */
ARB_API ArbStatus ARB_CALL ArbNodeProducerDone(ArbNode *node);

/**
 * ArbNodeProducerDone for every node of the subtree that is not complete yet, children before their parent, with the
 * hooks and events of that call.
 *
 * \retval ARB_OK always
 */
ARB_API ArbStatus ARB_CALL ArbNodeProducerDoneSubtree(ArbNode *node);

/**
 * Completes a linked node, as far as that is missing, and releases it for the producer. Raises
 * ARB_EVENT_PRODUCER_RELEASE and calls the hooks of ARB_HOOK_PRODUCER_RELEASE, both before anything changes; then the
 * hooks and events of what was not done yet. The node may be gone when the call returns.
 *
 * \retval ARB_OK the node is released
 * \retval ARB_ERR_RELEASED the producer had released it; nothing is raised or called
 * \retval ARB_ERR_DETACHED the node is in no child list. The release event has been raised and its hooks called, but
 *   the node is not released: link it and release it again, or free it with ArbNodeDestroy
 */
ARB_API ArbStatus ARB_CALL ArbNodeProducerRelease(ArbNode *node);

/**
 * ArbNodeProducerRelease for every node of the subtree that the producer has not released yet, children before their
 * parent, with the hooks and events of that call.
 *
 * \retval ARB_OK always: the outcome of single nodes is not reported
 */
ARB_API ArbStatus ARB_CALL ArbNodeProducerReleaseSubtree(ArbNode *node);

/**
 * Releases a node for the consumer. Raises ARB_EVENT_CONSUMER_RELEASE before anything changes. The node may be gone
 * when the call returns.
 *
 * \retval ARB_OK the node is released
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer had released it
 */
ARB_API ArbStatus ARB_CALL ArbNodeConsumerRelease(ArbNode *node);

/**
 * Releases a whole subtree for the consumer, running the producer until the subtree is complete; each node is released
 * once its next sibling is known, so that memory stays bounded. Raises the events of ArbNodeConsumerRelease. A node's
 * children come before it.
 *
 * The status is that of the last step along the node's own children. A failed step ends the walk along that child list,
 * and later siblings stay unreleased; the nodes above it are still released. Failures deeper down are not reported. A
 * callback or producer that releases the node at which the walk waits may free it, which ends the whole walk there.
 *
 * \retval ARB_OK the last step succeeded
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer had released the node (nothing is done then) or a child
 * \return Or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbNodeConsumerReleaseSubtree(ArbNode *node);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_RELEASE_H */
