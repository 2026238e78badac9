/**
 * \file
 * The elemdefs stand-in: the node factories of all namespaces but the built-in one.
 *
 * A host registers each namespace once for the whole process: the factory and the destroyer of its nodes, and how many
 * elements it defines. Every document holds a context; through it its trees fetch what is registered when their
 * producer calls ArbTreeAddNodeFactory. A context is a checked number, never a pointer that is followed: a stale or
 * invented one is answered with ELEMDEFS_ERR_CONTEXT.
 *
 * Namespace numbers: an element id carries a namespace of 0 to 4095, so only these can be registered, and 2 never, as
 * it is arbtree's own. The lookups get the producer's 32-bit value whole and look at its low 16 bits, as a tree's own
 * table does: 0x10005 finds namespace 5, while 0x10002 and 0x1005 find nothing.
 *
 * All calls may be made from any thread at any time; the registry is guarded by a lock.
 */
#ifndef ARBTREE_ELEMDEFS_H
#define ARBTREE_ELEMDEFS_H

#include "arbtree/closed_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup standin_elemdefs Stand-in: elemdefs
 * How a host makes its own kinds of nodes known.
 * \{
 */

#define ELEMDEFS_ERR_UNKNOWN_NAMESPACE 3101u /**< nothing is registered under this number */
#define ELEMDEFS_ERR_CONTEXT 3102u           /**< not a live context */
#define ELEMDEFS_ERR_DUPLICATE 3103u         /**< the namespace is registered already */
#define ELEMDEFS_ERR_NUMBER 3104u            /**< no element id can carry this namespace number */

/* ------------------------------------------------------------------------------------------------------------------
 * For hosts
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Registers a namespace. There is a place for every number, so the registry is never full. The functions must stay
 * callable until the last tree that fetched them is destroyed, also after the namespace has been unregistered.
 *
 * \retval ARB_OK registered
 * \retval ARB_ERR_BADARG the factory or the destroyer is null
 * \retval ARB_ERR_NAMESPACE namespace 2
 * \retval ELEMDEFS_ERR_NUMBER a number above 4095
 * \retval ELEMDEFS_ERR_DUPLICATE registered already; the first registration stays
 */
uint32_t ARB_CALL ElemDefsRegisterNamespace(uint32_t elementNamespace, ArbNodeFactory factory,
                                            ArbNodeDestroyer destroyer, uint32_t elementCount);

/**
 * Takes a namespace back: later lookups do not find it, trees that have fetched it keep it.
 *
 * \return ARB_OK, or ELEMDEFS_ERR_UNKNOWN_NAMESPACE
 */
uint32_t ARB_CALL ElemDefsUnregisterNamespace(uint32_t elementNamespace);

/* ------------------------------------------------------------------------------------------------------------------
 * What arbtree calls
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Makes a context, which the caller gives back with ElemDefsDestroy.
 *
 * \return ARB_OK, ARB_ERR_BADARG (null out-parameter) or ARB_ERR_NOMEMORY (nothing stored)
 */
uint32_t ARB_CALL ElemDefsCreate(ElemDefsHandle *context);

/**
 * Takes a context back.
 *
 * \return ARB_OK, or ELEMDEFS_ERR_CONTEXT for null and for any value that is not a live context
 */
uint32_t ARB_CALL ElemDefsDestroy(ElemDefsHandle context);

/**
 * Stores the functions of a namespace; on failure nothing is stored.
 *
 * \return ARB_OK, ARB_ERR_BADARG (null out-parameter), ELEMDEFS_ERR_CONTEXT or ELEMDEFS_ERR_UNKNOWN_NAMESPACE
 */
uint32_t ARB_CALL ElemDefsGetNodeFactory(ElemDefsHandle context, uint32_t elementNamespace, ArbNodeFactory *factory,
                                         ArbNodeDestroyer *destroyer);

/** Stores the element count that the namespace was registered with; statuses as for ElemDefsGetNodeFactory. */
uint32_t ARB_CALL ElemDefsGetElementCount(ElemDefsHandle context, uint32_t elementNamespace, uint32_t *count);

#ifdef __cplusplus
}
#endif

/** \} */

#endif /* ARBTREE_ELEMDEFS_H */
