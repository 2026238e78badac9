/**
 * \file
 * Interned strings: a document holds each text once.
 */
#ifndef ARBTREE_INTERFACE_STRINGS_H
#define ARBTREE_INTERFACE_STRINGS_H

#include "arbtree/interface/basics.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup strings Keep each text once
 * The strings of a document, which identify nodes. They live as long as the document.
 * \{
 */

/** A text interned in a document: two strings of one document have the same text exactly when they are one record. */
struct ArbString {
  uint32_t length;      /**< units of text, without the terminator */
  ArbNodeRef *boundRef; /**< the cell bound to this text as an identifier; null if none */
  uint32_t greater;     /**< index of the string that heads the subtree of greater texts; 0 none */
  uint32_t less;        /**< the same for smaller texts */
  char16_t text[1];     /**< length units and a zero, held in the record */
};

/**
 * Gives the document's one string of a text, which is copied and made on first request. The string is the document's,
 * never changes its text, and is valid until the document is destroyed.
 *
 * \retval ARB_OK *string is the string
 * \retval ARB_ERR_BADARG the text is null
 * \retval ARB_ERR_NOMEMORY *string is null; earlier strings are as they were
 */
ARB_API ArbStatus ARB_CALL ArbDocumentCreateString(ArbDocument *document, const char16_t *text, ArbString **string);

/**
 * Compares two texts: unit by unit, units as unsigned numbers, a prefix before the longer text. Either may be null,
 * which is smaller than any string; two nulls are equal. The strings may belong to different documents.
 *
 * \return -1, 0 or 1 as the text of a is smaller than, equal to or greater than that of b.
 */
ARB_API int16_t ARB_CALL ArbStringCompare(const ArbString *a, const ArbString *b);

/**
 * Hashes a text: the exclusive-or of its 32-bit little-endian words, and of each of the last two bytes if its length is
 * odd. Only the first (2 * length) mod 65536 bytes count.
 *
 * \return The hash; 0 for null and for the empty text.
 */
ARB_API uint32_t ARB_CALL ArbStringGetHashCode(const ArbString *string);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_STRINGS_H */
