/**
 * \file
 * The types that pass between arbtree and the closed libraries, in one definition for the library and for the hosts of
 * the stand-ins. Only the members named here are relied on; everything else in these records is the closed library's.
 */
#ifndef ARBTREE_CLOSED_TYPES_H
#define ARBTREE_CLOSED_TYPES_H

#include "arbtree/arbtree.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup standin_types Stand-ins: types
 * The types that pass between arbtree and the closed libraries.
 * \{
 */

/** elemdefs: the element-definition context of a document, a handle that only elemdefs interprets; null is none. */
typedef struct ElemDefsContext *ElemDefsHandle;

/**
 * srcaccess: what is known of a format. The extension, without a dot, is a zero-terminated 8-bit string that starts at
 * the record's ninth byte; the fields before it are srcaccess's own.
 */
typedef struct SrcFormatInfo {
  uint32_t ownFields[2]; /**< srcaccess's own */
  char extension[248];   /**< zero-terminated */
} SrcFormatInfo;

/** baseutil: a path name. The path comes from the process heap and is taken over by the caller. */
typedef struct BasePathName {
  uint32_t ownField; /**< baseutil's own */
  char16_t *path;    /**< zero-terminated; the caller's */
} BasePathName;

/** baseutil: transfers up to byteCount bytes, stores how many through transferred, and returns an I/O result. */
typedef uint32_t(ARB_CALL *BaseStreamTransfer)(struct BaseStream *stream, void *buffer, uint32_t byteCount,
                                               uint32_t *transferred);

/** baseutil: a stream is a handle whose first word points at its functions; arbtree uses the second and the third. */
typedef struct BaseStreamFunctions {
  void(ARB_CALL *ownFirst)(struct BaseStream *stream); /**< baseutil's own */
  BaseStreamTransfer read;                             /**< takes bytes out */
  BaseStreamTransfer write;                            /**< puts bytes in */
} BaseStreamFunctions;
/** baseutil: a stream; what follows the first word is baseutil's own. */
typedef struct BaseStream {
  const BaseStreamFunctions *functions; /**< what the stream does */
} BaseStream;

#ifdef __cplusplus
}
#endif

/** \} */

#endif /* ARBTREE_CLOSED_TYPES_H */
