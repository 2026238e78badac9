/**
 * \file
 * arbtree: large structured documents that are produced while they are consumed.
 *
 * A document is a tree of child documents: forests, files, and trees of nodes. The host's producer makes the content
 * chunk by chunk, and only when the consumer asks for it. This header is the whole public interface, and the one that
 * hosts include; what it holds is in the headers below, one for each thing that one wants to do. It compiles as C11 and
 * as C++.
 *
 * Rules that hold for every call:
 *
 * - All state hangs off a document. A document and everything in it is used from one thread at a time.
 * - Failures are answered by the status alone; the library throws nothing and logs nothing. The host's own bail-out
 *   may leave a waiting call by a non-local exit, and the document stays usable. A wait made inside the producer of
 *   another document lies within that document's guard: an exception there fails that document's run.
 * - A null document, tree, node, child document or required out-pointer is answered with ARB_ERR_BADARG before every
 *   other check, and nothing is changed, unless the function says that its null has a meaning, or lists another
 *   failure before ARB_ERR_BADARG. Calls that return no status answer 0 or nothing.
 * - "Query" calls answer from what exists and never run the producer. "Wait" calls run it, chunk by chunk on the
 *   caller's thread, until the answer exists or production has ended; during a run they answer ARB_ERR_NOTREADY when
 *   they would have to run it again. The "Get" steps to a child or sibling (\ref search) are the producer's: they look
 *   at what is linked now and never answer ARB_ERR_NOTREADY. Other Get calls read what an object holds, for either side.
 * - Text is UTF-16 in 16-bit units, zero-terminated; lengths count units and exclude the terminator.
 * - A failed allocation leaves everything as it was, unless the function says otherwise; the call may be made again.
 *
 * How to read the blocks of the functions:
 *
 * - ARB_OK stands first, then the failures in the order of the checks; the first that fails is the answer. A refused
 *   call changes nothing unless its block says so. ARB_ERR_BADARG for the null arguments above is not listed again;
 *   "may be null" marks the pointers that it does not concern.
 * - "Cleared" means set to null or 0 at entry, before every status listed; "untouched" means not written. A result is
 *   untouched by failures unless the block says otherwise.
 * - A call runs no function of the host, the producer included, unless its block says that it runs the producer,
 *   raises an event (runs the event callbacks), calls hooks, or calls a function that it names.
 * - "A run's failure" is what a Wait answers when it has to run the producer and cannot: ARB_ERR_NOTREADY during a
 *   run, else the status with which the producer failed, now or in an earlier run. Either way the call may be made
 *   again; answers that need no run are still given. When production ends before the answer exists a Wait answers
 *   ARB_OK and "nothing" as its block says, at once on every later call. A host whose status callback asks to abandon
 *   may leave a Wait by its own non-local exit.
 * - Pointers that come out belong to the library. A node is valid until it is freed (see \ref release), a child
 *   document until it is destroyed, a string as long as its document, a cell as long as its tree; but a cell serves
 *   another node once its own is freed, unless that had ARB_NODE_HAS_ID or ARB_NODE_SEPARATE_STREAM.
 */
#ifndef ARBTREE_ARBTREE_H
#define ARBTREE_ARBTREE_H

#include "arbtree/interface/basics.h"          /* statuses, and the names of the records */
#include "arbtree/interface/document.h"        /* make and destroy documents */
#include "arbtree/interface/production.h"      /* run the producer */
#include "arbtree/interface/child_documents.h" /* make, name and destroy child documents */
#include "arbtree/interface/forests.h"         /* build forests, walk forests */
#include "arbtree/interface/node.h"            /* nodes and cells */
#include "arbtree/interface/kinds.h"           /* teach a tree kinds of nodes */
#include "arbtree/interface/building.h"        /* make and link nodes */
#include "arbtree/interface/values.h"          /* give nodes values and marks */
#include "arbtree/interface/release.h"         /* complete and release nodes */
#include "arbtree/interface/navigation.h"      /* step through a tree */
#include "arbtree/interface/search.h"          /* find nodes by element id */
#include "arbtree/interface/traversal.h"       /* walk a subtree, save positions */
#include "arbtree/interface/references.h"      /* refer to nodes */
#include "arbtree/interface/strings.h"         /* keep each text once */
#include "arbtree/interface/metadata.h"        /* keep data with nodes and child documents */
#include "arbtree/interface/comparison.h"      /* compare, hash and copy subtrees */
#include "arbtree/interface/events.h"          /* be told of events */
#include "arbtree/interface/hooks.h"           /* hook nodes of a kind */

#endif /* ARBTREE_ARBTREE_H */
