/**
 * \file
 * A tree's stack of saved positions, and the walk that reports a subtree in document order.
 */
#ifndef ARBTREE_INTERFACE_TRAVERSAL_H
#define ARBTREE_INTERFACE_TRAVERSAL_H

#include "arbtree/interface/basics.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup traversal Walk a subtree, save positions
 * The consumer's stack of saved positions, one for each tree, is 128 deep. It holds cells: keep a pushed node
 * unreleased until it has been popped, or have it marked (ArbNodeCreateID), else its cell may lead to another node by
 * then.
 * \{
 */

/**
 * The callbacks of ArbDocumentOrderTraverser; any of them may be null. A result of zero means stop, except where the
 * field says otherwise. Callbacks may call the library, but neither release, free nor move nodes of the subtree that is
 * being walked: the walk goes on from the node that it has reported.
 */
typedef struct ArbTraverserCallbacks {
  /** Every node that is not one of the four text-bearing kinds, first. */
  uint32_t(ARB_CALL *startElement)(ArbNode *node, uint32_t elementId, void *userData);
  /** After the attribute steps; zero skips the children, and the walk goes on with endElement. */
  uint32_t(ARB_CALL *enterChildren)(ArbNode *node, uint32_t elementId, void *userData);
  /** Last; the result is the result of the node's visit. */
  uint32_t(ARB_CALL *endElement)(ArbNode *node, uint32_t elementId, void *userData);
  /** Once the attributes are done. */
  uint32_t(ARB_CALL *startAttributes)(ArbNode *node, uint32_t elementId, void *userData);
  /** Each attribute that is present, in order. */
  uint32_t(ARB_CALL *attribute)(ArbNode *node, uint32_t elementId, uint32_t attributeId, uintptr_t value,
                                uint32_t attributeInfo, void *userData);
  /** After the attributes. */
  uint32_t(ARB_CALL *endAttributes)(ArbNode *node, uint32_t elementId, void *userData);
  /**
   * ARB_ELEM_TEXT and ARB_ELEM_ENCODED_BYTES: the value as ArbAbstractTextNodeGetValue gives it. text stays the node's,
   * valid until the callback returns or sets the value, and is null when there is none. length counts units, but bytes
   * for a value of ARB_ENCODING_RAW8, which the callback cannot tell: it is for trees of whose values the host knows.
   */
  uint32_t(ARB_CALL *textNode)(const char16_t *text, uint32_t length, void *userData);
  /** ARB_ELEM_TEXT_4: text and its length in units, as for textNode. */
  uint32_t(ARB_CALL *text4Node)(const char16_t *text, uint32_t length, void *userData);
  /** ARB_ELEM_TEXT_3: text and its length in units, as for textNode. */
  uint32_t(ARB_CALL *text3Node)(const char16_t *text, uint32_t length, void *userData);
} ArbTraverserCallbacks;

/**
 * Saves a position; node may be null. Both failures are counted as pushes, so that a pop belongs to every push.
 *
 * \retval ARB_OK the position is saved
 * \retval ARB_ERR_MODE the document is producer-only
 * \retval ARB_ERR_CURSORSTACK the stack is full and nothing is saved
 */
ARB_API ArbStatus ARB_CALL ArbTreePushCursor(ArbTree *tree, ArbNode *node);

/**
 * Takes back the position saved last. node may be null. For a push that found the stack full *node is untouched.
 *
 * A node that has been freed meanwhile is answered as by ArbNodeRefWaitNode: runs the producer to its end, then ARB_OK
 * with null, or a run's failure. The position is popped by that too: a second call takes back the one before it.
 *
 * \retval ARB_OK *node is the node, or null if null was pushed or the node has been freed
 * \retval ARB_ERR_MODE the document is producer-only; nothing is popped, *node is untouched
 * \retval ARB_ERR_CURSORSTACK the stack is empty; *node is untouched
 * \return Or a run's failure, with null.
 */
ARB_API ArbStatus ARB_CALL ArbTreePopCursor(ArbTree *tree, ArbNode **node);

/**
 * Walks a subtree in document order and reports it to the callbacks; userData is passed through. Runs the producer as
 * far as each step needs, so one call can take a whole document through; releases nothing. Uses no stack that grows
 * with the depth of the tree.
 *
 * A text-bearing node gets its text callback only. Any other node, in this order: startElement; once the attributes are
 * done, startAttributes, attribute for each one present, endAttributes; enterChildren; its children; endElement.
 *
 * Statuses are not reported: a wait that fails leaves out a node's attribute callbacks, or the rest of a child list. In
 * a producer-only document every wait fails, and only the start node itself is reported.
 *
 * \return 0 when a callback stopped the walk, or node or callbacks is null; otherwise a callback's non-zero result, or
 *   1.
 */
ARB_API uint32_t ARB_CALL ArbDocumentOrderTraverser(ArbNode *node, const ArbTraverserCallbacks *callbacks,
                                                    void *userData);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_TRAVERSAL_H */
