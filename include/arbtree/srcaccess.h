/**
 * \file
 * The srcaccess stand-in: the files behind a document's source handle, and the formats of child documents.
 *
 * A host opens a source with the paths of its input and output file and passes the source handle to ArbDocumentCreate.
 * The paths are names only: srcaccess opens no file. A handle is a checked number: a stale or invented one is answered
 * with SRC_ERR_SOURCE. 0 and 0xFFFFFFFF are never handles.
 *
 * All calls may be made from any thread at any time; the registries are guarded by locks.
 */
#ifndef ARBTREE_SRCACCESS_H
#define ARBTREE_SRCACCESS_H

#include "arbtree/closed_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup standin_srcaccess Stand-in: srcaccess
 * How a host tells where a document comes from and goes to, and the formats of child documents.
 * \{
 */

#define SRC_ERR_SOURCE 3201u         /**< not an open source */
#define SRC_ERR_NO_FILE 3202u        /**< the source has no such file: it was opened with a null path */
#define SRC_ERR_UNKNOWN_FORMAT 3203u /**< nothing is registered under this format id */
#define SRC_ERR_DUPLICATE 3204u      /**< the format id is registered already */

/* The formats that are always registered, with their extensions. */
#define SRC_FORMAT_TREE 1150u    /**< "xml": trees */
#define SRC_FORMAT_ARCHIVE 1802u /**< "tar": forests of archive type 2 or 3 */
#define SRC_FORMAT_FOREST 1998u  /**< "zip": new forests, and forests of archive type 1 */

#define SRC_MAX_EXTENSION 247u /**< bytes of the longest extension, without the terminator */

/* ------------------------------------------------------------------------------------------------------------------
 * For hosts
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Opens a source. The paths are zero-terminated UTF-16 and are copied; either may be null, and fetching that file then
 * fails. The caller closes the source after the last document on it is destroyed.
 *
 * \return ARB_OK, ARB_ERR_BADARG (null out-parameter) or ARB_ERR_NOMEMORY (nothing stored)
 */
uint32_t ARB_CALL SrcOpen(const char16_t *inputPath, const char16_t *outputPath, uint32_t *source);

/** Closes a source and releases its file handles. \return ARB_OK or SRC_ERR_SOURCE. */
uint32_t ARB_CALL SrcClose(uint32_t source);

/**
 * Registers a format for the whole process. The extension, without a dot, is copied; it may be empty.
 *
 * \retval ARB_OK registered
 * \retval ARB_ERR_BADARG the extension is null or longer than SRC_MAX_EXTENSION
 * \retval SRC_ERR_DUPLICATE registered already, or one of the three above; the first registration stays
 * \retval ARB_ERR_NOMEMORY nothing has changed
 */
uint32_t ARB_CALL SrcRegisterFormat(uint32_t formatId, const char *extension);

/**
 * Takes a host's format back.
 *
 * \return ARB_OK, or SRC_ERR_UNKNOWN_FORMAT (also for the three above, which always stay)
 */
uint32_t ARB_CALL SrcUnregisterFormat(uint32_t formatId);

/* ------------------------------------------------------------------------------------------------------------------
 * What arbtree calls
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Store the file handle of a source's input or output file, which BaseFillPathName of baseutil turns into the path. The
 * handle stays the source's and is valid until SrcClose. On failure nothing is stored.
 *
 * \return ARB_OK, ARB_ERR_BADARG (null out-parameter), SRC_ERR_SOURCE or SRC_ERR_NO_FILE
 */
uint32_t ARB_CALL SrcGetFileHandle(uint32_t source, uint32_t *fileHandle);
/** \copydoc SrcGetFileHandle */
uint32_t ARB_CALL SrcGetOutputFileHandle(uint32_t source, uint32_t *fileHandle);

/**
 * Fills a format record: the format id and the extension's length as its own fields, and the extension. The second
 * argument is reserved and not looked at. On failure the record is left as it was.
 *
 * \return ARB_OK, ARB_ERR_BADARG (null record) or SRC_ERR_UNKNOWN_FORMAT
 */
uint32_t ARB_CALL SrcGetFormatInfo(uint32_t formatId, uint32_t zero, SrcFormatInfo *info);

#ifdef __cplusplus
}
#endif

/** \} */

#endif /* ARBTREE_SRCACCESS_H */
