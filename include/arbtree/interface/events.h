/**
 * \file
 * Event callbacks: every structural step of a document, told to functions of the host.
 */
#ifndef ARBTREE_INTERFACE_EVENTS_H
#define ARBTREE_INTERFACE_EVENTS_H

#include "arbtree/interface/basics.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup events Be told of events
 * Callbacks are called synchronously, inside the call that raises the event, in the order of their slots.
 * \{
 */

/* Event codes of the library; the argument is a node. Hosts may raise other codes of their own. */
#define ARB_EVENT_NODE_CREATED 1u     /**< made; null when a creation failed and the caller's pointer was null */
#define ARB_EVENT_NODE_LINKED 2u      /**< linked into a child list */
#define ARB_EVENT_NODE_IN_TREE 3u     /**< connected to the root */
#define ARB_EVENT_ATTRIBUTES_DONE 4u  /**< the attributes are final */
#define ARB_EVENT_CHILDREN_DONE 5u    /**< the child list is closed */
#define ARB_EVENT_PRODUCER_RELEASE 6u /**< about to be released by the producer */
#define ARB_EVENT_CONSUMER_RELEASE 7u /**< about to be released by the consumer */
#define ARB_EVENT_NODE_FREED 8u       /**< about to be freed, with its subtree */

/**
 * An event callback. It may call the library; its result is ignored, and it must not throw. Until the call that raised
 * the event has returned, it does not cause to be freed or destroyed:
 * - the node that it is told of, or an ancestor of it;
 * - nodes that are being copied (ArbNodeClone, ArbNodeCloneSubtree), or their tree;
 * - child documents of a forest that is being released or destroyed with its subtree, or a forest around them.
 */
typedef uint32_t(ARB_CALL *ArbEventCallback)(ArbDocument *document, uint32_t event, void *argument, void *context);

/**
 * Has function(document, event, argument, context) called for every event from now on. The first free slot is taken,
 * else a new last one. A function may be registered more than once and is then called once for each. It may be
 * registered while an event is raised: in a later slot it still gets that event. Keep it callable until it is
 * unregistered or ArbDocumentDestroy, which raises events, has returned. context may be null.
 *
 * \retval ARB_OK the function is registered
 * \retval ARB_ERR_BADARG the function is null
 * \retval ARB_ERR_NOMEMORY no slot; the earlier callbacks stay
 */
ARB_API ArbStatus ARB_CALL ArbDocumentRegisterCallback(ArbDocument *document, ArbEventCallback function, void *context);

/**
 * Takes back the first registration of the function, whatever its context; later ones stay. May be called while an
 * event is raised, also by the callback itself: a callback taken out of a later slot does not get that event.
 *
 * \retval ARB_OK the registration is gone
 * \retval ARB_ERR_BADARG the function is null
 * \retval ARB_ERR_NOTFOUND it is not registered
 */
ARB_API ArbStatus ARB_CALL ArbDocumentUnregisterCallback(ArbDocument *document, ArbEventCallback function);

/**
 * Raises an event: calls every registered callback. Codes 1 to 8 are the library's own; hosts use others, with any
 * argument, null included. Does nothing for a null document.
 */
ARB_API void ARB_CALL ArbDocumentDoCallback(ArbDocument *document, uint32_t event, void *argument);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_EVENTS_H */
