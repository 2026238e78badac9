/**
 * \file
 * Forests: how the producer fills and releases lists of child documents, and how the consumer walks and releases them.
 */
#ifndef ARBTREE_INTERFACE_FORESTS_H
#define ARBTREE_INTERFACE_FORESTS_H

#include "arbtree/interface/child_documents.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup forest_building Build forests
 * The producer's calls.
 * \{
 */

/**
 * Appends a child document, which from now on is destroyed with the forest. The child is not checked: it must belong to
 * the same document and be in no forest.
 *
 * \retval ARB_OK the forest owns the child
 * \retval ARB_ERR_RELEASED the producer has released the forest
 * \retval ARB_ERR_CLOSED the forest's child list is closed
 */
ARB_API ArbStatus ARB_CALL ArbForestAppendChild(ArbForest *forest, ArbForestChild *child);

/**
 * Closes the forest's child list: all children have been appended. May be repeated.
 *
 * \retval ARB_OK the list is closed
 * \retval ARB_ERR_RELEASED the producer has released the forest
 */
ARB_API ArbStatus ARB_CALL ArbForestAllChildrenAttached(ArbForest *forest);

/**
 * Sets what kind of archive the forest is, which decides what it adds to document paths. 1 also sets formatId to 1998,
 * 2 and 3 set it to 1802; other values leave it. The forest keeps its name.
 *
 * \retval ARB_OK the forest has the type
 * \retval ARB_ERR_RELEASED the producer has released the forest
 * \retval ARB_ERR_LOCKED the producer has declared it done
 * \retval ARB_ERR_BADARG archiveType is 0, which only the root forest is made with
 */
ARB_API ArbStatus ARB_CALL ArbForestSetArchiveType(ArbForest *forest, uint32_t archiveType);

/**
 * The producer has finished the child: a forest is closed and its archive type fixed; a tree takes no new nodes,
 * references, hooks and factories (ARB_ERR_LOCKED), though its nodes can still be linked, completed and released.
 *
 * \retval ARB_OK the child is done
 * \retval ARB_ERR_RELEASED the producer has released the child
 * \retval ARB_ERR_DETACHED the child is in no forest
 */
ARB_API ArbStatus ARB_CALL ArbForestChildProducerDone(ArbForestChild *child);

/**
 * Finishes the child and releases it for the producer. A tree loses its hooks, uncalled, and then its nodes are
 * released as by ArbNodeProducerReleaseSubtree, which raises events and frees the nodes that the consumer is done with.
 * The child's record stays until it is destroyed. A forest's children are not released with it.
 *
 * \retval ARB_OK the child is released
 * \retval ARB_ERR_RELEASED the producer had released the child
 * \retval ARB_ERR_DETACHED the child is in no forest
 */
ARB_API ArbStatus ARB_CALL ArbForestChildProducerRelease(ArbForestChild *child);

/**
 * ArbForestChildProducerRelease for every child document below the forest that the producer has not released yet,
 * children before their forest, then for the forest itself, with the events of that call. A nested forest that the
 * producer has released already is passed over with all that is below it. A forest that was never appended stays
 * unreleased, which is not reported. No child document below the forest may be destroyed meanwhile.
 *
 * \retval ARB_OK the walk is done
 * \retval ARB_ERR_RELEASED the producer had released the forest; nothing is done
 */
ARB_API ArbStatus ARB_CALL ArbForestProducerReleaseSubtree(ArbForest *forest);

/** \} */

/**
 * \defgroup forest_walking Walk forests
 * The consumer's calls. Query calls answer from what is there; Wait calls run the producer until they can answer.
 * \{
 */

/**
 * The number of children appended; destroyed ones count. count may be null; it is cleared.
 *
 * - Query, list open: ARB_ERR_NOTREADY and 0.
 * - Wait, list open: runs the producer; ARB_OK and 0 when production ended with the list open; a run's failure and 0.
 *
 * \retval ARB_OK *count is the final number
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer has released the forest
 * \retval ARB_ERR_NOTREADY Query: the list is open
 * \return Wait: or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbForestQueryChildCount(ArbForest *forest, uint32_t *count);
/** \copydoc ArbForestQueryChildCount */
ARB_API ArbStatus ARB_CALL ArbForestWaitChildCount(ArbForest *forest, uint32_t *count);

/**
 * The first child, or null: the list is closed and empty. child may be null; it is cleared.
 *
 * - Query, not there yet: ARB_ERR_NOTREADY.
 * - Wait, not there yet: runs the producer; ARB_OK with null when production ended without a child.
 *
 * \retval ARB_OK *child is the child or null
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer has released the forest
 * \retval ARB_ERR_NOTREADY Query: no child yet, and the list is open
 * \return Wait: or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbForestQueryFirstChild(ArbForest *forest, ArbForestChild **child);
/** \copydoc ArbForestQueryFirstChild */
ARB_API ArbStatus ARB_CALL ArbForestWaitFirstChild(ArbForest *forest, ArbForestChild **child);

/**
 * The last child, known only once the list is closed; null: it is empty. child may be null; it is cleared.
 *
 * - Query, list open: ARB_ERR_NOTREADY even if there are children.
 * - Wait, list open: runs the producer; when production ended first, ARB_OK with the last child so far, or null.
 *
 * \retval ARB_OK *child is the child or null
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer has released the forest
 * \retval ARB_ERR_NOTREADY Query: the list is open
 * \return Wait: or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbForestQueryLastChild(ArbForest *forest, ArbForestChild **child);
/** \copydoc ArbForestQueryLastChild */
ARB_API ArbStatus ARB_CALL ArbForestWaitLastChild(ArbForest *forest, ArbForestChild **child);

/**
 * Waits until the child list is closed, running the producer.
 *
 * \retval ARB_OK the list is closed, or production ended with the list open: forest->child.flags tells
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer has released the forest
 * \return Or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbForestWaitAllChildrenAttached(ArbForest *forest);

/**
 * The next sibling, or null: the child is the last of a closed forest, or in no forest. *sibling is cleared. The
 * consumer's release of the child plays no part.
 *
 * - Query, not there yet: ARB_ERR_NOTREADY.
 * - Wait, not there yet: runs the producer; ARB_OK with null when production ended without one.
 *
 * \retval ARB_OK *sibling is the sibling or null
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_BADARG sibling is null
 * \retval ARB_ERR_NOTREADY Query: no next sibling yet, and the forest is open
 * \return Wait: or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbForestChildQueryNextSibling(ArbForestChild *child, ArbForestChild **sibling);
/** \copydoc ArbForestChildQueryNextSibling */
ARB_API ArbStatus ARB_CALL ArbForestChildWaitNextSibling(ArbForestChild *child, ArbForestChild **sibling);

/**
 * The previous sibling, or null if there is none. It never has to wait. The consumer's release of the child plays no
 * part.
 *
 * \retval ARB_OK *sibling is the sibling or null
 * \retval ARB_ERR_MODE the document is producer-only; *sibling is untouched
 * \retval ARB_ERR_BADARG sibling is null
 */
ARB_API ArbStatus ARB_CALL ArbForestChildWaitPrevSibling(ArbForestChild *child, ArbForestChild **sibling);

/**
 * Releases a child document for the consumer. A tree whose root the consumer has not released is first released as by
 * ArbNodeConsumerReleaseSubtree, which runs the producer and raises events; how far that came is not reported. The
 * child's record stays until it is destroyed. A forest's children are not released with it.
 *
 * \retval ARB_OK the child is released
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer had released the child
 */
ARB_API ArbStatus ARB_CALL ArbForestChildConsumerRelease(ArbForestChild *child);

/**
 * ArbForestChildConsumerRelease for every child document below the forest, children before their forest, then for the
 * forest itself; trees run the producer and raise events as in that call. A nested forest that the consumer has
 * released already is passed over with all that is below it. It takes the children that are there: to miss none, wait
 * first until the lists are closed. Not to be called again for a forest whose release is going on, and no child
 * document below it may be destroyed meanwhile, by the producer either. A failure does not stop the walk.
 *
 * \retval ARB_OK no child document below failed
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_RELEASED the consumer had released the forest (nothing is done), or a child document below it
 */
ARB_API ArbStatus ARB_CALL ArbForestConsumerReleaseSubtree(ArbForest *forest);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_FORESTS_H */
