/**
 * \file
 * Finding a child, a following sibling or an ancestor by its element id.
 */
#ifndef ARBTREE_INTERFACE_SEARCH_H
#define ARBTREE_INTERFACE_SEARCH_H

#include "arbtree/interface/basics.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup search Find nodes by element id
 * Element ids are compared as a whole; the node that the search starts at is not looked at. The Get calls are the
 * producer's: they look only at what is linked now, in any document. The Query and Wait calls are the consumer's.
 * \{
 */

/**
 * The first child, the nearest following sibling, or the nearest ancestor with an element id, among what is linked now.
 * result may be null and is written only for a match: set it to null before the call.
 *
 * \retval ARB_OK whether or not there is one
 * \retval ARB_ERR_RELEASED the producer has released the node
 */
ARB_API ArbStatus ARB_CALL ArbNodeGetFirstChildByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);
/** \copydoc ArbNodeGetFirstChildByElementId */
ARB_API ArbStatus ARB_CALL ArbNodeGetNextSiblingByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);
/** \copydoc ArbNodeGetFirstChildByElementId */
ARB_API ArbStatus ARB_CALL ArbNodeGetAncestorByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);

/**
 * The first child with an element id. result may be null and is written only for a match: set it to null before the
 * call.
 *
 * - Query, no match among the children so far and the list open: ARB_ERR_NOTREADY.
 * - Wait, the same: runs the producer; ARB_OK without a match when production ended.
 *
 * \retval ARB_OK whether or not there is one
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer has released the node, or a child that the search has to pass over; the match
 *   may be a released one
 * \retval ARB_ERR_NOTREADY Query: no match so far
 * \return Wait: or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbNodeQueryFirstChildByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);
/** \copydoc ArbNodeQueryFirstChildByElementId */
ARB_API ArbStatus ARB_CALL ArbNodeWaitFirstChildByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);

/**
 * The nearest following sibling with an element id, running the producer as far as need be. A node in no child list has
 * none. result may be null and is written only for a match: set it to null before the call.
 *
 * \retval ARB_OK whether or not there is one; also without a match when production ended
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer has released the node, or a sibling that the search has to pass over; the match
 *   may be a released one
 * \return Or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitNextSiblingByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);

/**
 * The nearest ancestor with an element id, or null when there is none. It never has to wait. result may be null; it is
 * cleared.
 *
 * \retval ARB_OK *result is the ancestor or null
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer has released the node, or an ancestor that the search has to pass over
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitAncestorByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_SEARCH_H */
