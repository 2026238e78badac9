/**
 * \file
 * Documents: making and destroying them, the record that the host hands over, and the source-access slots.
 */
#ifndef ARBTREE_INTERFACE_DOCUMENT_H
#define ARBTREE_INTERFACE_DOCUMENT_H

#include "arbtree/interface/basics.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup documents Make and destroy documents
 * A document holds all state: its producer, its root forest with everything below it, its strings, its callbacks.
 * \{
 */

#define ARB_DOC_RUNNING 1u        /**< ArbDocumentHead.flags: a read-ahead run is in progress */
#define ARB_DOC_START_PENDING 8u  /**< ArbDocumentHead.flags: the next run calls the producer's startEntry */
#define ARB_DOC_ENDED 16u         /**< ArbDocumentHead.flags: nothing more will be produced */
#define ARB_DOC_PRODUCER_ONLY 32u /**< ArbDocumentHead.flags: the document has no consumer */

#define ARB_INTERFACE_FILE_HANDLE 0u        /**< source-access slot: the file handle of the input */
#define ARB_INTERFACE_OUTPUT_FILE_HANDLE 1u /**< source-access slot: the file handle of the output */
#define ARB_INTERFACE_FORMAT_INFO 2u        /**< source-access slot: what is known of a format */

/** The fields that every document begins with. Hosts read them; the library writes them. */
struct ArbDocumentHead {
  uint32_t source;             /**< the host's handle, as given to ArbDocumentCreate */
  ArbHostContext *hostContext; /**< likewise */
  uint32_t flags;              /**< ARB_DOC_... */
  uint32_t producerError;      /**< status of the run that failed; 0 while none has */
  uint32_t childCounter;       /**< last child-document id handed out */
  ArbForest *rootForest;       /**< where producer and consumer begin; owned by the document */
};

/**
 * A producer entry point. It produces one chunk with the library's own calls, asks ArbDocumentQueryBreak between units
 * of work, and returns soon after that answers 1. The arguments are the three of ArbHostContext, 32-bit values on every
 * platform; a host with 64-bit pointers passes handles.
 *
 * \retval 0 go on later, through continueEntry
 * \retval ARB_STATUS_BREAK go on later, through startEntry
 * \retval ARB_STATUS_END production has ended
 * \return Any other value is a failure, which the document keeps.
 */
typedef uint32_t(ARB_CALL *ArbProducerEntry)(uint32_t producerArg1, uint32_t producerArg2, uint32_t producerArg3);

/**
 * The host's context record. The library reads the five named fields and nothing else; the areas between them belong
 * to the host, which usually embeds its own data there or behind the record. The byte positions on 32-bit platforms
 * are part of the contract; on 64-bit platforms order and area sizes stay and pointers widen.
 */
struct ArbHostContext {
  uint8_t hostArea1[236];         /**< the host's */
  ArbProducerEntry startEntry;    /**< first run, and every run after one that returned ARB_STATUS_BREAK */
  ArbProducerEntry continueEntry; /**< every other run */
  uint8_t hostArea2[36];          /**< the host's */
  uint32_t producerArg3;          /**< handed to the entries */
  uint8_t hostArea3[28];          /**< the host's */
  uint32_t producerArg1;          /**< handed to the entries */
  uint32_t producerArg2;          /**< handed to the entries */
};

/** A source-access function as a slot stores it; cast it to the slot's own type. */
typedef void(ARB_CALL *ArbInterfaceFunction)(void);

/** Slots 0 and 1: stores the file handle of a source's input or output file; 0 on success. */
typedef uint32_t(ARB_CALL *ArbFileHandleFunction)(uint32_t source, uint32_t *fileHandle);

/**
 * Makes a document and its root forest (id 1, archive type 0), named from nameTemplate as \ref child_documents says,
 * which calls the default source-access functions. Nothing is produced yet.
 *
 * - source: handed to the source-access slots
 * - hostContext: borrowed until the document, and every file that carries it on, is destroyed. May be null: a document
 *   without a producer, whose every run fails with ARB_ERR_BADARG
 * - nameTemplate: may be null
 * - statusContext: handed to the status callback after a run that attached nodes
 * - mode: 1 producer-only, no consumer; any other value: a document with a consumer
 *
 * \retval ARB_OK the caller owns *document and gives it back with ArbDocumentDestroy
 * \retval ARB_ERR_NOMEMORY nothing was made; *document is untouched when the document itself found no memory, null when
 *   the element-definition library or the root forest found none
 * \return Any other status comes from the element-definition library; *document is null.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentCreate(uint32_t source, ArbHostContext *hostContext, const char16_t *nameTemplate,
                                             uint32_t statusContext, uint32_t mode, ArbDocument **document);

/**
 * Destroys the root forest with everything appended below it, then all that the document owns; every pointer that came
 * out of the document is invalid afterwards. Raises ARB_EVENT_NODE_FREED once for each tree, with its root, and calls
 * the destroyers of the nodes' namespaces. Child documents that were never appended, and nodes not connected to their
 * tree's root, are not destroyed: the caller destroys them first. Must not be called from the producer, a callback or a
 * hook of this document.
 *
 * \retval ARB_OK always
 */
ARB_API ArbStatus ARB_CALL ArbDocumentDestroy(ArbDocument *document);

/**
 * The document's root forest, in which the producer puts the first child documents and the consumer looks for them.
 * Not an exported function: it reads the field. REQUIRES: document is not null.
 *
 * \return The forest, which is the document's.
 */
static inline ArbForest *ArbDocumentRootForest(const ArbDocument *document) {
#ifdef __cplusplus
  return reinterpret_cast<const ArbDocumentHead *>(document)->rootForest;
#else
  return ((const ArbDocumentHead *)document)->rootForest;
#endif
}

/**
 * Reads a source-access slot, ARB_INTERFACE_... A new document has all three filled, and no call empties one.
 *
 * \retval ARB_OK *function is the slot's function
 * \retval ARB_ERR_BADARG no slot has this index; *function is null
 * \retval ARB_ERR_NOTFOUND the slot is empty; *function is null
 */
ARB_API ArbStatus ARB_CALL ArbDocumentGetInterface(ArbDocument *document, uint32_t index,
                                                   ArbInterfaceFunction *function);

/**
 * Replaces a source-access slot. The library calls slots 0 and 1, as an ArbFileHandleFunction with the document's
 * source, to fetch the input and the output path; once a path has been fetched its slot is not called again. It only
 * stores slot 2. Keep the function callable until another is set or the document is destroyed.
 *
 * \retval ARB_OK the slot has the function
 * \retval ARB_ERR_BADARG no slot has this index, or the function is null; the slot is unchanged
 */
ARB_API ArbStatus ARB_CALL ArbDocumentSetInterface(ArbDocument *document, uint32_t index,
                                                   ArbInterfaceFunction function);

/**
 * Does nothing: what bounds memory is the chunk budgets and the releases.
 *
 * \retval ARB_OK whatever it is given, a null document included
 */
ARB_API ArbStatus ARB_CALL ArbDocumentSetMemoryLimit(ArbDocument *document, uint32_t bytes);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_DOCUMENT_H */
