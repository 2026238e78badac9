/**
 * \file
 * The compwrite stand-in: writes the file children that hosts hand over with ArbFileWrite.
 *
 * A host sets a writer for each host context record that it creates documents with: a function of its own, or the
 * directory writer below. A file is written by the writer of the context that it carries, so a transferred file is
 * written by that of the document it came from.
 *
 * All calls may be made from any thread at any time; the registry is guarded by a lock, which is not held while a
 * writer or a provider runs. A host takes a writer back, or sets another, when no call with its context is running.
 */
#ifndef ARBTREE_COMPWRITE_H
#define ARBTREE_COMPWRITE_H

#include "arbtree/arbtree.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup standin_compwrite Stand-in: compwrite
 * How a host has file children written.
 * \{
 */

#define COMPWRITE_ERR_NO_WRITER 3501u /**< no writer is set for the host context */
#define COMPWRITE_ERR_NAME 3502u      /**< a name of the document path is refused (see CompWriteSetDirectory) */
#define COMPWRITE_ERR_BLOCKED 3503u   /**< a symbolic link, or an object of the wrong kind, is in the way */
#define COMPWRITE_ERR_FULL 3504u      /**< no room on the device */
#define COMPWRITE_ERR_IO 3505u        /**< any other failure of the file system; also a missing target directory */
#define COMPWRITE_ERR_CONTENT 3506u   /**< the provider claimed more bytes than the buffer holds */

/* ------------------------------------------------------------------------------------------------------------------
 * For hosts
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Writes a file; argument is the one given to ArbFileWrite, and the result is the status that its caller gets. It may
 * throw (not on Windows), but must not leave by longjmp.
 */
typedef uint32_t(ARB_CALL *CompWriter)(ArbHostContext *hostContext, ArbFile *file, uint32_t argument, void *writerData);

/**
 * Provides a file's content: puts at most capacity bytes, those from offset on, into the buffer and stores their
 * number; 0 bytes end the content. Offsets grow from 0 by the bytes provided, once for each file written. A status
 * other than 0 ends the writing and becomes its result. It may throw (not on Windows), which leaves nothing behind,
 * but must not leave by longjmp.
 */
typedef uint32_t(ARB_CALL *CompContentProvider)(ArbFile *file, uint32_t argument, uint64_t offset, void *buffer,
                                                uint32_t capacity, uint32_t *byteCount, void *providerData);

/**
 * Sets the writer of a host context in place of an earlier one.
 *
 * \return ARB_OK, ARB_ERR_BADARG (null context or writer) or ARB_ERR_NOMEMORY (nothing has changed)
 */
uint32_t ARB_CALL CompWriteSetWriter(ArbHostContext *hostContext, CompWriter writer, void *writerData);

/**
 * Sets the directory writer for a host context in place of an earlier writer. The directory (zero-terminated UTF-16,
 * copied) must exist when a file is written.
 *
 * A file's place below the directory is made of the names of its ancestor forests whose archive type is not 0, and its
 * own name; each "/" and each backslash inside a name separates as well. Missing directories are made. Nothing is ever
 * written outside the directory, whatever the names and whatever lies in it. Refused with COMPWRITE_ERR_NAME, on every
 * platform: parts that are empty or only of dots and spaces (so ".." and absolute paths), parts with a colon or a
 * unit below U+0020, surrogates that stand alone. Symbolic links below the directory are not followed; one under the
 * file's own name is replaced.
 *
 * The content goes to a temporary file beside the target, which takes the target's name, in place of a file of that
 * name, once it is complete. After a failure there is no temporary file, and an earlier file of that name is as it was.
 *
 * \return ARB_OK, ARB_ERR_BADARG (a null argument but the provider's data) or ARB_ERR_NOMEMORY (nothing has changed)
 *
 * Writing answers ARB_OK, ARB_ERR_NOMEMORY, the provider's status, or a COMPWRITE_ERR_... status.
 */
uint32_t ARB_CALL CompWriteSetDirectory(ArbHostContext *hostContext, const char16_t *directory,
                                        CompContentProvider provider, void *providerData);

/** Takes a host context's writer back. \return ARB_OK, or COMPWRITE_ERR_NO_WRITER. */
uint32_t ARB_CALL CompWriteRemoveWriter(ArbHostContext *hostContext);

/* ------------------------------------------------------------------------------------------------------------------
 * What arbtree calls
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Has the writer of a host context write a file.
 *
 * \return ARB_ERR_BADARG (null file), COMPWRITE_ERR_NO_WRITER (also for a null context), or the writer's status
 */
uint32_t ARB_CALL CompWriteFile(ArbHostContext *hostContext, ArbFile *file, uint32_t argument);

#ifdef __cplusplus
}
#endif

/** \} */

#endif /* ARBTREE_COMPWRITE_H */
