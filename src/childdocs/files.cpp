// File children: embedded files that nobody parses, handed whole to the writer component.
#include "childdocs/child_record.h"
#include "document/document.h"
#include "platform/heap.h"
#include "tree/metadata.h"

using namespace arbtree;

ArbStatus ARB_CALL ArbDocumentCreateFile(ArbDocument* document, const char16_t* pattern, uint16_t formatId,
                                         ArbFile** file) {
  if (!document || !file) return ARB_ERR_BADARG;
  auto* const created = heap::allocateRecord<ArbFile>();
  if (!created) return ARB_ERR_NOMEMORY;
  created->hostContext = document->hostContext;
  initChild(created->child, *document, ARB_CHILD_FILE, formatId, pattern);
  *file = created;
  return ARB_OK;
}

ArbStatus ARB_CALL ArbDocumentTransferFile(ArbDocument* document, ArbFile* source, ArbFile** file) {
  if (!document || !source || !file) return ARB_ERR_BADARG;
  const ArbStatus status = ArbDocumentCreateFile(document, source->child.name, source->child.formatId, file);
  if (status != ARB_OK) return status;
  (*file)->hostContext = source->hostContext;
  for (const ArbMetadataEntry* entry = source->child.metadata; entry; entry = entry->next) {
    ArbForestChildSetMetadata(&(*file)->child, entry->key, metadata::valueOf(*entry), entry->size);
  }
  return ARB_OK;
}

ArbStatus ARB_CALL ArbFileWrite(ArbFile* file, uint32_t argument) {
  if (!file) return ARB_ERR_BADARG;
  if (has(file->child, ARB_CHILD_CONSUMER_RELEASED)) return ARB_ERR_RELEASED;
  return CompWriteFile(file->hostContext, file, argument);
}
