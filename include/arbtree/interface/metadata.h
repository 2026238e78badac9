/**
 * \file
 * Metadata: what a host keeps with nodes and child documents under keys of its own.
 */
#ifndef ARBTREE_INTERFACE_METADATA_H
#define ARBTREE_INTERFACE_METADATA_H

#include "arbtree/interface/basics.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup metadata Keep data with nodes and child documents
 * Bytes under 32-bit keys of the host's choosing. Either side may use them in any document, at any time.
 * \{
 */

/**
 * Keeps a copy of `size` bytes under a key, in place of the key's earlier value, as long as the node or child document
 * lives. Size 0 keeps an empty value, which is not the same as none; value may be null then. A key cannot be taken out
 * again. The value may be the key's own.
 *
 * \retval ARB_OK always. Without memory, or when value is null and size is not 0, the value is not stored: the key
 *   keeps its earlier value, and a new key is not entered. The Get call tells
 */
ARB_API ArbStatus ARB_CALL ArbNodeSetMetadata(ArbNode *node, uint32_t key, const void *value, uint32_t size);
/** \copydoc ArbNodeSetMetadata */
ARB_API ArbStatus ARB_CALL ArbForestChildSetMetadata(ArbForestChild *child, uint32_t key, const void *value,
                                                     uint32_t size);

/**
 * Copies a key's value to the caller's buffer. Both pointers may be null. *size is the buffer's capacity in bytes and
 * becomes the value's size; without it the value is copied whatever its size, without a buffer only the size is told.
 *
 * \retval ARB_OK the value was copied if it fits. *size larger than the capacity given: nothing was copied
 * \retval ARB_ERR_NOTFOUND there is no such key; both are untouched
 */
ARB_API ArbStatus ARB_CALL ArbNodeGetMetadata(ArbNode *node, uint32_t key, void *buffer, uint32_t *size);
/** \copydoc ArbNodeGetMetadata */
ARB_API ArbStatus ARB_CALL ArbForestChildGetMetadata(ArbForestChild *child, uint32_t key, void *buffer, uint32_t *size);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_METADATA_H */
