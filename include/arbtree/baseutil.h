/**
 * \file
 * The baseutil stand-in: the host's say on going on and abandoning, path names, and streams.
 *
 * Threads: all calls but those on a stream may be made from any thread at any time; what is shared is guarded by locks,
 * which are never held while a host's function runs. A stream is used by one thread at a time.
 */
#ifndef ARBTREE_BASEUTIL_H
#define ARBTREE_BASEUTIL_H

#include "arbtree/closed_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup standin_baseutil Stand-in: baseutil
 * What a host tells the base utility library: whether to go on, path names, streams.
 * \{
 */

#define BASE_ERR_HANDLE 3301u /**< not a registered file handle; I/O: a closed stream, or one that cannot write */
#define BASE_ERR_END 3302u    /**< I/O: the data ended before the bytes asked for */
#define BASE_ERR_FULL 3303u   /**< I/O: no room for the bytes on the device or within the stream's limit */
#define BASE_ERR_IO 3304u     /**< I/O: any other failure */

/* ------------------------------------------------------------------------------------------------------------------
 * Going on and abandoning
 * ------------------------------------------------------------------------------------------------------------------ */

/* Answers of a status function that ask arbtree to abandon the operation; every other answer means go on. */
#define BASE_ABANDON 20u       /**< abandon */
#define BASE_ABANDON_OTHER 32u /**< abandon, too */

/** Says whether the document with this status context goes on. Called after each run that added nodes to a tree. */
typedef uint32_t(ARB_CALL *BaseStatusFunction)(uint32_t statusContext, void *hostData);

/**
 * Abandons the host's operation, with the code that arbtree gave (20). It may leave by longjmp or by an exception, past
 * arbtree's frames, which hold nothing at that point; when it returns, the waiting call goes on with its status. On
 * Windows the exception is a structured one, as one of C++ does not get past the frames of other modules. Where the
 * wait was made inside the producer of another document, that document's guard lies between: an exception fails its
 * run, and a longjmp must not go past it.
 */
typedef void(ARB_CALL *BaseBailOutFunction)(uint32_t code, uint32_t statusContext, void *hostData);

/** What a host has to say. A null status function answers 0; a null bailOut raises the exception described below. */
typedef struct BaseHostFunctions {
  BaseStatusFunction status;   /**< null: go on */
  BaseBailOutFunction bailOut; /**< null: raise the exception described below */
  void *hostData;              /**< handed to both; the host's own */
} BaseHostFunctions;

/**
 * Sets the functions of one status context, the value given to ArbDocumentCreate, in place of earlier ones; null takes
 * them back. The record is copied. Documents that must not share functions have different status contexts.
 *
 * \return ARB_OK; ARB_ERR_NOTFOUND when there is nothing to take back; ARB_ERR_NOMEMORY (nothing has changed)
 */
uint32_t ARB_CALL BaseSetHostFunctions(uint32_t statusContext, const BaseHostFunctions *functions);

/** Sets the functions of every status context that has none of its own; null takes them back. */
void ARB_CALL BaseSetDefaultHostFunctions(const BaseHostFunctions *functions);

/** Called by arbtree: the answer of the context's status function, or of the default one, or 0. */
uint32_t ARB_CALL BaseStatusCallback(uint32_t statusContext, uint32_t zero1, uint32_t zero2);

/**
 * Called by arbtree after an answer of 20 or 32. The call names no document, so the functions are those of the context
 * whose status function last answered on this thread, or the default ones if none did, looked up at this moment. With
 * no bail-out function it throws a BaseBailOutException, or on Windows raises BASE_EXCEPTION_BAIL_OUT.
 */
void ARB_CALL BaseBailOut(uint32_t code, uint32_t zero1, uint32_t zero2);

/* ------------------------------------------------------------------------------------------------------------------
 * Path names
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Makes a file handle for a path, which is zero-terminated UTF-16 and is copied; no file is opened. The handle is a
 * checked number, never 0 or 0xFFFFFFFF, and is given back with BaseReleaseHandle.
 *
 * \return ARB_OK, ARB_ERR_BADARG (a null argument) or ARB_ERR_NOMEMORY (nothing stored)
 */
uint32_t ARB_CALL BaseRegisterPath(const char16_t *path, uint32_t *fileHandle);

/** Gives a file handle back. \return ARB_OK, or BASE_ERR_HANDLE for a stale or invented one. */
uint32_t ARB_CALL BaseReleaseHandle(uint32_t fileHandle);

/**
 * Called by arbtree: stores a copy of the handle's path from the process heap, which the caller frees with that heap
 * (free; HeapFree on Windows), and its length in units as the record's own field. On failure nothing is stored.
 *
 * \return ARB_OK, ARB_ERR_BADARG (null record), BASE_ERR_HANDLE or ARB_ERR_NOMEMORY
 */
uint32_t ARB_CALL BaseFillPathName(uint32_t fileHandle, BasePathName *record);

/* ------------------------------------------------------------------------------------------------------------------
 * Streams
 *
 * Every stream is a queue of bytes: writes add at its end, reads go on where the last read stopped. A transfer moves
 * what it can and stores the number of bytes moved (transferred may be null); when that is less than asked for, its
 * result says why.
 *
 * The host closes a stream with BaseStreamClose. Its record stays readable, and each of its functions answers
 * BASE_IO_HANDLE, until a later open takes it again: once a thousand others have been closed since.
 * ------------------------------------------------------------------------------------------------------------------ */

/* I/O results, and the status that BaseMapIoError gives for each. */
#define BASE_IO_OK 0u       /**< all bytes moved: ARB_OK */
#define BASE_IO_END 1u      /**< fewer bytes left than asked for: BASE_ERR_END */
#define BASE_IO_HANDLE 2u   /**< a closed stream, or a write to one opened for reading: BASE_ERR_HANDLE */
#define BASE_IO_FULL 3u     /**< device full, or the stream's limit reached: BASE_ERR_FULL */
#define BASE_IO_NOMEMORY 4u /**< an allocation failed: ARB_ERR_NOMEMORY */
#define BASE_IO_BADARG 5u   /**< null stream, or null buffer with bytes to move: ARB_ERR_BADARG */
#define BASE_IO_NOTFOUND 6u /**< no such file or directory: ARB_ERR_NOTFOUND */
#define BASE_IO_FAILED 7u   /**< any other failure: BASE_ERR_IO */

/* Ways to open a file stream. */
#define BASE_OPEN_READ 0u   /**< an existing file, read from its start */
#define BASE_OPEN_CREATE 1u /**< a new or emptied file, written and read */

/**
 * Opens a stream in memory that begins with a copy of byteCount bytes (null with 0 for none). limit is the most bytes
 * it holds unread; 0 means no limit.
 *
 * \return ARB_OK, ARB_ERR_BADARG (null out-parameter, or null bytes with a count), BASE_ERR_FULL (more bytes than the
 *   limit) or ARB_ERR_NOMEMORY; nothing is stored on failure
 */
uint32_t ARB_CALL BaseStreamOpenMemory(const void *bytes, uint32_t byteCount, uint32_t limit, BaseStream **stream);

/**
 * Opens a stream on what the system opens by this path (zero-terminated UTF-16), a device included. Transfers go to it
 * at once, so each failure is answered by the transfer that met it. A directory is refused here or by the first transfer.
 *
 * \return ARB_OK, ARB_ERR_BADARG (a null argument, an unknown mode, a path that is not well-formed UTF-16), or the
 *   mapped result of opening the file; nothing is stored on failure
 */
uint32_t ARB_CALL BaseStreamOpenFile(const char16_t *path, uint32_t mode, BaseStream **stream);

/**
 * Closes a stream: calls the first of its functions. Null, a stream that is closed already, and a pointer that is no
 * stream of this library are left alone.
 */
void ARB_CALL BaseStreamClose(BaseStream *stream);

/** Called by arbtree: the status of an I/O result, as listed above; BASE_ERR_IO for an unknown one. */
uint32_t ARB_CALL BaseMapIoError(uint32_t ioResult);

#ifdef __cplusplus
}
#endif

#if defined(_WIN32)
/** The structured exception that BaseBailOut raises when the host has set no bail-out function. Its parameter is the
 * code given to BaseBailOut, and it cannot be continued. */
#define BASE_EXCEPTION_BAIL_OUT 0xE0000003u
#elif defined(__cplusplus)
#define BASE_EXCEPTION_TYPE __attribute__((visibility("default"))) /**< so that it can be caught outside the library */

/** What BaseBailOut throws when the host has set no bail-out function; on Windows it raises BASE_EXCEPTION_BAIL_OUT. */
struct BASE_EXCEPTION_TYPE BaseBailOutException {
  uint32_t code; /**< as given to BaseBailOut */
};
#endif

/** \} */

#endif /* ARBTREE_BASEUTIL_H */
