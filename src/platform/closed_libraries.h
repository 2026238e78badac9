// What the library calls in the closed libraries of the platform, and all that it relies on there. Each is a shared
// library of its own; standins/ holds one of ours for each, and a host that owns the real one puts it in its place
// without rebuilding. Of all else in src/ only the guard knows one of them: what rtcore says of exceptions.
#ifndef ARBTREE_PLATFORM_CLOSED_LIBRARIES_H
#define ARBTREE_PLATFORM_CLOSED_LIBRARIES_H

#include "arbtree/arbtree.h"
#include "arbtree/closed_types.h"

extern "C" {

// elemdefs: the element-definition context of a document, and the node factories of all namespaces but the built-in
// one. The context is a handle that only elemdefs interprets; null is no context.
uint32_t ARB_CALL ElemDefsCreate(ElemDefsHandle* context);
uint32_t ARB_CALL ElemDefsDestroy(ElemDefsHandle context);
uint32_t ARB_CALL ElemDefsGetNodeFactory(ElemDefsHandle context, uint32_t elementNamespace, ArbNodeFactory* factory,
                                         ArbNodeDestroyer* destroyer);
uint32_t ARB_CALL ElemDefsGetElementCount(ElemDefsHandle context, uint32_t elementNamespace, uint32_t* count);

// srcaccess: the default source-access functions, and what is known of a format. The extension is a zero-terminated
// 8-bit string that starts at the record's ninth byte; the fields before it are srcaccess's own.
uint32_t ARB_CALL SrcGetFileHandle(uint32_t source, uint32_t* fileHandle);
uint32_t ARB_CALL SrcGetOutputFileHandle(uint32_t source, uint32_t* fileHandle);
uint32_t ARB_CALL SrcGetFormatInfo(uint32_t formatId, uint32_t zero, SrcFormatInfo* info);

// baseutil: the host's say on going on, abandoning, stream results and path names. A path comes from the process heap
// and is taken over by the caller.
uint32_t ARB_CALL BaseStatusCallback(uint32_t statusContext, uint32_t zero1, uint32_t zero2);
void ARB_CALL BaseBailOut(uint32_t code, uint32_t zero1, uint32_t zero2);
uint32_t ARB_CALL BaseMapIoError(uint32_t ioResult);
uint32_t ARB_CALL BaseFillPathName(uint32_t fileHandle, BasePathName* record);

// rtcore: turns the 32-bit code of an exception caught around the producer into a status.
uint32_t ARB_CALL RtTranslateException(uint32_t exceptionCode);

// compwrite: the writer of file children; the status is passed to the caller unchanged.
uint32_t ARB_CALL CompWriteFile(ArbHostContext* hostContext, ArbFile* file, uint32_t argument);
}

#endif
