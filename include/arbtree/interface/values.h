/**
 * \file
 * What nodes of the built-in kinds hold: texts, bytes, the names of entities of other child documents; and the marks
 * that a node carries for its consumer.
 */
#ifndef ARBTREE_INTERFACE_VALUES_H
#define ARBTREE_INTERFACE_VALUES_H

#include "arbtree/interface/kinds.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup values Give nodes values and marks
 * The four text-bearing kinds hold a text, or bytes kept as text. The text is the node's own.
 * \{
 */

#define ARB_ENCODING_UTF16 0u  /**< the bytes, read as UTF-16 units */
#define ARB_ENCODING_BASE64 1u /**< base64 text with a line feed after every 64 units */
#define ARB_ENCODING_RAW8 2u   /**< the bytes as they are */

/* Flags of an encoded-bytes value; other bits are kept as given. */
#define ARB_BYTES_KEEP_ORDER 0x01u  /**< the bytes stay in the order given */
#define ARB_BYTES_SWAP_ORDER 0x02u  /**< base64 of 16-bit units: the bytes are swapped in pairs before */
#define ARB_BYTES_UNITS8 0x10u      /**< the bytes are single bytes */
#define ARB_BYTES_UNITS16 0x20u     /**< the bytes are 16-bit units */
#define ARB_BYTES_UNITS_OTHER 0x40u /**< the bytes are units of another size */

/** ARB_ELEM_TEXT, ARB_ELEM_TEXT_3, ARB_ELEM_TEXT_4 */
typedef struct ArbTextNode {
  ArbNode node;        /**< the head */
  char16_t *text;      /**< owned by the node; null when there is no value */
  uint32_t textLength; /**< units, without the terminator */
} ArbTextNode;

/** ARB_ELEM_ENCODED_BYTES. For ARB_ENCODING_RAW8 text points at textLength bytes and a zero byte. */
typedef struct ArbEncodedBytesNode {
  ArbNode node;           /**< the head */
  char16_t *text;         /**< owned by the node; null when there is no value */
  uint32_t textLength;    /**< units, without the terminator */
  uint32_t info;          /**< given with the value; the caller's own */
  uint32_t encoding;      /**< ARB_ENCODING_... */
  uint32_t encodingFlags; /**< ARB_BYTES_... */
} ArbEncodedBytesNode;

/** ARB_ELEM_EXTERNAL_REFERENCE: names an entity held by another child document. */
typedef struct ArbExternalReferenceNode {
  ArbNode node;            /**< the head */
  ArbForestChild *target;  /**< as given; never followed by the library */
  char16_t entityName[64]; /**< at most 63 units and a zero */
} ArbExternalReferenceNode;

/**
 * The value of a text or encoded-bytes node. text and length may be null. The text stays the node's and is valid until
 * its value is set again or the node is freed. An ARB_ENCODING_RAW8 value is *length bytes and a zero byte instead,
 * unless ArbAbstractTextNodeSetValue has set it since.
 *
 * \retval ARB_OK *text and *length are the value, null and 0 when there is none
 * \retval ARB_ERR_BADARG a node of another kind; both are untouched
 */
ARB_API ArbStatus ARB_CALL ArbAbstractTextNodeGetValue(ArbNode *node, const char16_t **text, uint32_t *length);

/**
 * Gives a text or encoded-bytes node a copy of `length` units as its value; length 0 leaves it without one, and text
 * may be null then. The text may be the node's own. An encoded-bytes node keeps its info, encoding and flags, but holds
 * units whatever they say. It works on completed nodes too. A value set after the node joined the tree is not counted
 * against the chunk.
 *
 * \retval ARB_OK the node has the value
 * \retval ARB_ERR_BADARG a node of another kind, or text is null and length is not 0; the value is unchanged
 * \retval ARB_ERR_NOMEMORY the node has no value any more
 */
ARB_API ArbStatus ARB_CALL ArbAbstractTextNodeSetValue(ArbNode *node, const char16_t *text, uint32_t length);

/**
 * The info and encoding of an encoded-bytes node; its text is read with ArbAbstractTextNodeGetValue. info and encoding
 * may be null; the two arguments before them are ignored. For a node of another kind both are untouched.
 *
 * \retval ARB_OK always
 */
ARB_API ArbStatus ARB_CALL ArbEncodedBytesNodeGetValue(ArbNode *node, void *unused1, void *unused2, uint32_t *info,
                                                       uint32_t *encoding);

/**
 * Stores bytes as the text of an encoded-bytes node, in place of its value; byteCount 0 leaves it without one, and
 * bytes may be null then. The bytes may lie in the node's own value.
 *
 * - ARB_ENCODING_UTF16: the bytes as they are, byteCount / 2 units; an odd last byte is no part of the value
 * - ARB_ENCODING_BASE64: base64 of RFC 4648, padded, with a line feed after every 64 units, also at the very end
 * - ARB_ENCODING_RAW8: the bytes as they are; textLength counts bytes
 *
 * info is the caller's own and only kept. The Ex form takes the flags, ARB_BYTES_..., of which ARB_BYTES_KEEP_ORDER is
 * added unless ARB_BYTES_SWAP_ORDER is given, and ARB_BYTES_UNITS8 unless another unit is; the other form stands for
 * ARB_BYTES_KEEP_ORDER and ARB_BYTES_UNITS8. With ARB_BYTES_SWAP_ORDER, ARB_BYTES_UNITS16 and base64 the bytes are
 * swapped in pairs before they are encoded; an odd last byte stays as it is.
 *
 * \retval ARB_OK the node has the value; also for a node of another kind, which is unchanged
 * \retval ARB_ERR_BADARG bytes is null and byteCount is not 0; the node is unchanged
 * \retval ARB_ERR_NOMEMORY also for base64 text of more than 2^32 - 1 units; the node has no value, but info, encoding
 *   and the completed flags as given
 * \retval ARB_ERR_BADENCODING no such encoding, and byteCount is not 0; the node is left as by ARB_ERR_NOMEMORY
 */
ARB_API ArbStatus ARB_CALL ArbEncodedBytesNodeSetValue(ArbNode *node, const void *bytes, uint32_t byteCount,
                                                       uint32_t info, uint32_t encoding);
/** \copydoc ArbEncodedBytesNodeSetValue */
ARB_API ArbStatus ARB_CALL ArbEncodedBytesNodeSetValueEx(ArbNode *node, const void *bytes, uint32_t byteCount,
                                                         uint32_t info, uint32_t encoding, uint32_t flags);

/**
 * Decodes base64 of RFC 4648, textLength units of it, into at most `capacity` bytes. Units outside the alphabet,
 * padding included, are skipped wherever they are; a single unit left at the end gives nothing.
 *
 * text may be null for textLength 0, bytes for a capacity of 0.
 *
 * \return The number of bytes; 0xFFFFFFFF when it reaches the capacity: allow one byte more than the data. The bytes
 *   before the stop are stored, none at or beyond the capacity. 0 for textLength 0, whatever the capacity, and for any
 *   other null.
 */
ARB_API uint32_t ARB_CALL DecodeBase64(const char16_t *text, uint32_t textLength, void *bytes, uint32_t capacity);

/**
 * Makes a node that names an entity held by another child document, in no child list yet. The name is copied; the
 * target may be null, is only kept, never followed, and may end before the node. The name is read back with
 * ArbExternalReferenceNodeGetEntityName, the target from the node's record. Raises ARB_EVENT_NODE_CREATED as
 * ArbTreeCreateNode does, before the node has target and name.
 *
 * \retval ARB_OK *node is the node, as made by ArbTreeCreateNode
 * \retval ARB_ERR_BADARG the name is null or longer than 63 units; no node is made, no event raised, *node is untouched
 * \retval ARB_ERR_LOCKED as for ArbTreeCreateNode
 * \retval ARB_ERR_NOTFOUND as for ArbTreeCreateNode, also before the document's first run has ended
 * \retval ARB_ERR_NOMEMORY as for ArbTreeCreateNode
 */
ARB_API ArbStatus ARB_CALL ArbTreeCreateExternalReferenceNode(ArbTree *tree, ArbForestChild *target,
                                                              const char16_t *entityName, ArbNode **node);

/**
 * The entity name of an external reference; it is part of the node and valid as long as that. name may be null.
 *
 * \retval ARB_OK *name is the name
 * \retval ARB_ERR_BADARG a node of another kind; *name is untouched
 */
ARB_API ArbStatus ARB_CALL ArbExternalReferenceNodeGetEntityName(ArbNode *node, const char16_t **name);

/**
 * Marks the node (ARB_NODE_SEPARATE_STREAM) for a consumer that writes it to a stream of its own. The library enters
 * its cell in a list of the tree, once for each call, and keeps the cell when the node is freed.
 *
 * \retval ARB_OK the node is marked
 * \retval ARB_ERR_LOCKED the node's attributes are done
 * \retval ARB_ERR_NOMEMORY the node is not marked by this call
 */
ARB_API ArbStatus ARB_CALL ArbNodeSetSeparateStream(ArbNode *node);

/**
 * Marks the node (ARB_NODE_SKIP_IF_EMPTY) for the consumer; the library only keeps the mark.
 *
 * \retval ARB_OK the node is marked
 * \retval ARB_ERR_LOCKED the node's attributes are done
 */
ARB_API ArbStatus ARB_CALL ArbNodeSetSkipIfEmpty(ArbNode *node);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_VALUES_H */
