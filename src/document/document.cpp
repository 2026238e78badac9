// Creating and destroying documents; the source-access slots.
#include "document/document.h"

#include <cstddef>

#include "nodetypes/strings.h"
#include "platform/heap.h"
#include "tree/cell_pool.h"

namespace arbtree {
namespace {

constexpr std::uint32_t kDefaultChunkBytes = 0x20000;
constexpr std::uint32_t kModeProducerOnly = 1;
constexpr std::uint32_t kSlots = sizeof(ArbDocument::interface) / sizeof(ArbInterfaceFunction);

template <typename Function>
ArbInterfaceFunction asSlot(Function* function) {
  return reinterpret_cast<ArbInterfaceFunction>(function);
}

// Makes the document's own parts. On failure the record holds what elemdefs gave, for the caller to give back.
ArbStatus createParts(ArbDocument& document, const char16_t* nameTemplate) {
  if (const ArbStatus status = ElemDefsCreate(&document.elemDefs)) return status;
  if (const ArbStatus status = ArbDocumentCreateForest(&document, nameTemplate, &document.rootForest)) return status;
  document.rootForest->archiveType = 0;
  document.rootForest->child.flags |= ARB_CHILD_ATTACHED;
  return ARB_OK;
}

void releasePaths(ArbDocument& document) {
  heap::releaseAdopted(document.inputPath);
  heap::releaseAdopted(document.outputPath);
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbDocumentCreate(uint32_t source, ArbHostContext* hostContext, const char16_t* nameTemplate,
                                     uint32_t statusContext, uint32_t mode, ArbDocument** document) {
  if (!document) return ARB_ERR_BADARG;
  auto* const created = heap::allocateRecord<ArbDocument>();
  if (!created) return ARB_ERR_NOMEMORY;
  created->source = source;
  created->hostContext = hostContext;
  created->statusContext = statusContext;
  created->flags = ARB_DOC_START_PENDING | (mode == kModeProducerOnly ? ARB_DOC_PRODUCER_ONLY : 0);
  created->chunkBreakSize = kDefaultChunkBytes;
  created->interface[ARB_INTERFACE_FILE_HANDLE] = asSlot(SrcGetFileHandle);
  created->interface[ARB_INTERFACE_OUTPUT_FILE_HANDLE] = asSlot(SrcGetOutputFileHandle);
  created->interface[ARB_INTERFACE_FORMAT_INFO] = asSlot(SrcGetFormatInfo);
  const ArbStatus status = createParts(*created, nameTemplate);
  if (status != ARB_OK) {
    if (created->elemDefs) ElemDefsDestroy(created->elemDefs);
    releasePaths(*created);
    heap::release(created, sizeof *created);
    *document = nullptr;
    return status;
  }
  *document = created;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbDocumentDestroy(ArbDocument* document) {
  if (!document) return ARB_ERR_BADARG;
  ArbForestDestroy(document->rootForest);
  destroySpareCells(*document);
  ElemDefsDestroy(document->elemDefs);
  destroyStrings(*document);
  heap::release(document->callbacks);
  releasePaths(*document);
  heap::release(document, sizeof *document);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbDocumentGetInterface(ArbDocument* document, uint32_t index, ArbInterfaceFunction* function) {
  if (!document || !function) return ARB_ERR_BADARG;
  *function = index < kSlots ? document->interface[index] : nullptr;
  if (index >= kSlots) return ARB_ERR_BADARG;
  return *function ? ARB_OK : ARB_ERR_NOTFOUND;
}

ArbStatus ARB_CALL ArbDocumentSetInterface(ArbDocument* document, uint32_t index, ArbInterfaceFunction function) {
  if (!document || index >= kSlots || !function) return ARB_ERR_BADARG;
  document->interface[index] = function;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbDocumentSetMemoryLimit(ArbDocument*, uint32_t) { return ARB_OK; }
