/**
 * \file
 * Producer node hooks: functions called when something happens to nodes of one element id.
 */
#ifndef ARBTREE_INTERFACE_HOOKS_H
#define ARBTREE_INTERFACE_HOOKS_H

#include "arbtree/interface/basics.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup hooks Hook nodes of a kind
 * Hooks are called in the order of their registration, for nodes of exactly one element id. The library raises
 * ARB_HOOK_ATTRIBUTES_DONE and ARB_HOOK_PRODUCER_RELEASE; values other than the four named call nothing.
 * \{
 */

#define ARB_HOOK_QUERY 1u            /**< raised by the host only; the hook gets the element id and answers *result */
#define ARB_HOOK_NODE 2u             /**< raised by the host only; the hook gets the node */
#define ARB_HOOK_ATTRIBUTES_DONE 3u  /**< raised by the library; the hook gets the node */
#define ARB_HOOK_PRODUCER_RELEASE 4u /**< raised by the library; the hook gets the node */

typedef struct ArbSavedHooks ArbSavedHooks; /**< opaque: a snapshot of a tree's producer node hooks */

/**
 * A producer node hook. The argument is the element id for ARB_HOOK_QUERY and the node (cast to an integer) for every
 * other event. Only the result of ARB_HOOK_QUERY is used. What an event callback may do, a hook may do.
 */
typedef uint32_t(ARB_CALL *ArbProducerNodeHookFunction)(uintptr_t argument, void *context);

/**
 * Has function(argument, context) called when the event happens to a node of the element id. A hook registered twice is
 * called twice. context may be null.
 *
 * \retval ARB_OK the hook is registered
 * \retval ARB_ERR_BADARG the function is null
 * \retval ARB_ERR_LOCKED the producer has declared the tree done
 * \retval ARB_ERR_NOMEMORY the earlier hooks stay
 */
ARB_API ArbStatus ARB_CALL ArbTreeSetProducerNodeHook(ArbTree *tree, uint32_t event, uint32_t elementId,
                                                      ArbProducerNodeHookFunction function, void *context);

/**
 * Calls the hooks of an event and element id.
 *
 * - ARB_HOOK_QUERY: each gets the element id, and *result becomes what the last one answers; it is untouched when there
 *   is no hook, so preset it. node is not looked at and may be null.
 * - ARB_HOOK_NODE, ARB_HOOK_ATTRIBUTES_DONE, ARB_HOOK_PRODUCER_RELEASE: each gets the node; result may be null and is
 *   untouched.
 *
 * \retval ARB_OK the hooks have been called; also when there are none
 * \retval ARB_ERR_BADARG node is null for one of the three events that hand it on, whether or not there is a hook; or
 *   result is null for ARB_HOOK_QUERY and there is a hook. No hook is called
 */
ARB_API ArbStatus ARB_CALL ArbTreeCallProducerNodeHook(ArbTree *tree, uint32_t event, uint32_t elementId, ArbNode *node,
                                                       uint32_t *result);

/**
 * Copies the tree's hooks, which stay in force, into a snapshot. It holds memory until ArbTreeRestoreProducerNodeHooks
 * takes it, the only call that frees it: restore it before the tree is destroyed.
 *
 * \retval ARB_OK the caller owns *snapshot
 * \retval ARB_ERR_NOMEMORY *snapshot is null
 */
ARB_API ArbStatus ARB_CALL ArbTreeSaveProducerNodeHooks(ArbTree *tree, ArbSavedHooks **snapshot);

/**
 * Puts the hooks of a snapshot in place of the tree's own, also after the producer is done with the tree. Takes the
 * snapshot, which is invalid afterwards.
 *
 * \retval ARB_OK the tree has the snapshot's hooks
 * \retval ARB_ERR_BADARG the snapshot is null; the tree's hooks stay
 */
ARB_API ArbStatus ARB_CALL ArbTreeRestoreProducerNodeHooks(ArbTree *tree, ArbSavedHooks *snapshot);

/**
 * Takes all hooks off the tree, uncalled, as ArbForestChildProducerRelease also does. Snapshots stay.
 *
 * \retval ARB_OK always
 */
ARB_API ArbStatus ARB_CALL ArbTreeClearProducerNodeHooks(ArbTree *tree);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_HOOKS_H */
