/* A host in C11: every public header, and a call into each library through its declaration. */
#include <stddef.h>

#include "all_headers.h"

int main(void) {
  ElemDefsHandle definitions;
  SrcFormatInfo format;
  const int good = ArbDocumentReadAhead(NULL) == ARB_ERR_BADARG && ElemDefsCreate(&definitions) == ARB_OK &&
                   ElemDefsDestroy(definitions) == ARB_OK && SrcGetFormatInfo(1998, 0, &format) == ARB_OK &&
                   format.extension[0] != '\0' && RtSetTranslation(7, 9) == ARB_OK && RtTranslateException(7) == 9 &&
                   BaseMapIoError(0) == ARB_OK && CompWriteRemoveWriter(NULL) != ARB_OK;
  return good ? 0 : 1;
}
