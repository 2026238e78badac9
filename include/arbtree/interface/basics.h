/**
 * \file
 * What every other header of the interface builds on: how functions are exported and called, the status codes, and the
 * names of the records.
 */
#ifndef ARBTREE_INTERFACE_BASICS_H
#define ARBTREE_INTERFACE_BASICS_H

#include <stdint.h>
#ifndef __cplusplus
#include <uchar.h>
#endif

/**
 * \defgroup basics Statuses and types
 * What all calls share.
 * \{
 */

#if defined(_WIN32)
#if defined(ARBTREE_BUILDING)
#define ARB_API __declspec(dllexport)
#elif defined(ARBTREE_STATIC)
#define ARB_API
#else
#define ARB_API __declspec(dllimport)
#endif
#define ARB_CALL __cdecl
#else
#define ARB_API __attribute__((visibility("default"))) /**< stands before every exported function */
#define ARB_CALL                                       /**< the calling convention of all functions and callbacks */
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** What a call answers: one of the codes below, or one that a library of the platform or the host's producer gave. */
typedef uint32_t ArbStatus;

#define ARB_OK 0u                 /**< success */
#define ARB_ERR_NOMEMORY 13u      /**< an allocation failed */
#define ARB_ERR_BADARG 15u        /**< a null or invalid argument, or an object of a kind that is not served */
#define ARB_ERR_NOTFOUND 25u      /**< no such entry: key, callback, slot, factory; or a factory that made no node */
#define ARB_ERR_NAMESPACE 30u     /**< namespace 2, the built-in one, cannot be registered */
#define ARB_ERR_SMALLBUFFER 46u   /**< the caller's buffer is too small; the size needed has been stored */
#define ARB_ERR_BADENCODING 50u   /**< an encoding other than 0, 1 or 2 */
#define ARB_ERR_CURSORSTACK 137u  /**< the cursor stack is empty (pop) or full (push) */
#define ARB_ERR_NOTREADY 145u     /**< not produced yet, or a read-ahead run is already in progress */
#define ARB_STATUS_BREAK 451u     /**< producer result: stopped at a break; the next run calls startEntry */
#define ARB_STATUS_END 452u       /**< production has ended; Wait calls turn it into ARB_OK */
#define ARB_ERR_RELEASED 2048u    /**< the calling side has already released the node or child document */
#define ARB_ERR_ATTACHED 2049u    /**< the node is already in a child list, or connected to the root */
#define ARB_ERR_DETACHED 2050u    /**< the node is in no child list, or the child document in no forest */
#define ARB_ERR_CLOSED 2051u      /**< the child list concerned is closed */
#define ARB_ERR_LOCKED 2052u      /**< the tree, node or forest no longer accepts this change */
#define ARB_ERR_FOREIGN 2056u     /**< the nodes belong to different trees */
#define ARB_ERR_MODE 2057u        /**< the call is not available in this document's mode */

typedef struct ArbDocument ArbDocument;           /**< a document: opaque, but for the fields of ArbDocumentHead */
typedef struct ArbDocumentHead ArbDocumentHead;   /**< the fields that every document begins with */
typedef struct ArbHostContext ArbHostContext;     /**< what the host hands to a document */
typedef struct ArbForestChild ArbForestChild;     /**< the header of a child document */
typedef struct ArbForest ArbForest;               /**< a list of child documents */
typedef struct ArbFile ArbFile;                   /**< a file that the library does not parse */
typedef struct ArbTree ArbTree;                   /**< a tree: opaque, but for the fields of ArbTreeHead */
typedef struct ArbTreeHead ArbTreeHead;           /**< the fields that every tree begins with */
typedef struct ArbNode ArbNode;                   /**< the head of a node */
typedef struct ArbNodeRef ArbNodeRef;             /**< a node-reference cell */
typedef struct ArbNodeType ArbNodeType;           /**< the descriptor of a node kind */
typedef struct ArbMetadataEntry ArbMetadataEntry; /**< opaque: one key of a metadata list */
typedef struct ArbString ArbString;               /**< a text interned in a document */

#ifdef __cplusplus
}
#endif

/** \} */

#endif /* ARBTREE_INTERFACE_BASICS_H */
