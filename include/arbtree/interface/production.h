/**
 * \file
 * Read-ahead: running the producer, and the budget after which a run should return.
 */
#ifndef ARBTREE_INTERFACE_PRODUCTION_H
#define ARBTREE_INTERFACE_PRODUCTION_H

#include "arbtree/interface/basics.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup production Run the producer
 * Wait calls run the producer by themselves, one chunk at a time. A host calls ArbDocumentReadAhead to produce ahead,
 * or to drive a document that has no consumer; the other calls are for the producer, which asks when to return.
 * \{
 */

/**
 * Runs the producer for one chunk: clears the chunk's counters and calls startEntry or continueEntry once.
 *
 * An exception that leaves the producer is caught, and its 32-bit code translated by the rtcore library; the result
 * counts as the producer's own. These are C++ exceptions (RtCodedException of arbtree/rtcore.h carries its code, every
 * other has a fixed one) and, on Windows, all structured exceptions under their own codes. A C++ exception is only seen
 * by the guard of a library with the same C++ runtime; RtProducer in arbtree/rtcore.h is for producers with another, as
 * most on Windows. The forced unwinding of thread cancellation passes through instead, and the document is no longer
 * running then.
 *
 * After a run that attached a node to a tree, failed runs included, the status callback of the baseutil library gets
 * the statusContext. When it answers 20 or 32 the bail-out is called, which usually leaves this call by a non-local
 * exit: the run is complete by then, and the document stays usable.
 *
 * \retval ARB_OK the run is over, production goes on with the next one
 * \retval ARB_STATUS_END production has ended, in this run or earlier; the producer is never called again
 * \retval ARB_ERR_NOTREADY a run is in progress (the caller is the producer, or was called during a run); it is not
 *   disturbed
 * \return Any other status: the producer failed, in this run or earlier. It is never called again and every later run
 *   answers this status; what exists can still be walked, released and destroyed. ARB_ERR_BADARG is also kept this way
 *   for a run that found no host context or a null entry.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentReadAhead(ArbDocument *document);

/**
 * For the producer, between units of work: *due is 1 when it should return soon, else 0. A break is due when one was
 * forced, when the bytes attached in this run have reached the chunk break size, when more than 4096 nodes were created
 * in it, or more than 32 child documents. Between runs the counters are those of the last run.
 *
 * \retval ARB_OK always
 */
ARB_API ArbStatus ARB_CALL ArbDocumentQueryBreak(ArbDocument *document, uint32_t *due);

/**
 * Makes ArbDocumentQueryBreak answer 1 until the end of the current run; between runs, until the end of the next one.
 *
 * \retval ARB_OK always
 */
ARB_API ArbStatus ARB_CALL ArbDocumentForceBreak(ArbDocument *document);

/**
 * Sets the byte budget of a run: 131072 in a new document, 0 for none. A node counts, when it joins the tree, with the
 * size of its record and twice the textLength of a text-bearing kind. Holds from the next ArbDocumentQueryBreak on.
 *
 * \retval ARB_OK always
 */
ARB_API ArbStatus ARB_CALL ArbDocumentSetChunkBreakSize(ArbDocument *document, uint32_t bytes);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_PRODUCTION_H */
