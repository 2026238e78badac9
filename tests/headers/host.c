/* A host in C11: every public header, and one call into each library through its declaration. */
#include <stddef.h>

#include "all_headers.h"

static uint32_t ARB_CALL endAtOnce(uint32_t argument1, uint32_t argument2, uint32_t argument3) {
  (void)argument1, (void)argument2, (void)argument3;
  return ARB_STATUS_END;
}

static int runDocument(void) {
  static ArbHostContext context;
  ArbDocument* document;
  ArbTree* tree;
  context.startEntry = endAtOnce;
  context.continueEntry = endAtOnce;
  if (ArbDocumentCreate(0, &context, NULL, 0, 0, &document) != ARB_OK) return 0;
  if (ArbDocumentCreateTree(document, NULL, &tree) != ARB_OK) return 0;
  const int rooted = ArbTreeRootNode(tree)->nodeType->elementId == ARB_ELEM_ROOT && ArbTreeDestroy(tree) == ARB_OK;
  const int ended = ArbDocumentReadAhead(document) == ARB_STATUS_END;
  return ArbDocumentDestroy(document) == ARB_OK && rooted && ended;
}

static int callStandIns(void) {
  ElemDefsHandle definitions;
  SrcFormatInfo format;
  if (ElemDefsCreate(&definitions) != ARB_OK || ElemDefsDestroy(definitions) != ARB_OK) return 0;
  if (SrcGetFormatInfo(1998, 0, &format) != ARB_OK || format.extension[0] == '\0') return 0;
  if (RtSetTranslation(7, 9) != ARB_OK || RtTranslateException(7) != 9) return 0;
  return BaseMapIoError(0) == ARB_OK && CompWriteRemoveWriter(NULL) != ARB_OK;
}

int main(void) { return runDocument() && callStandIns() ? 0 : 1; }
