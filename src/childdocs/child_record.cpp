#include "childdocs/child_record.h"

#include "childdocs/naming.h"
#include "document/document.h"

namespace arbtree {

void initChild(ArbForestChild& child, ArbDocument& document, std::uint32_t kind, std::uint16_t formatId,
               const char16_t* nameTemplate) {
  child.formatId = formatId;
  child.document = &document;
  child.kind = kind;
  child.id = ++document.childCounter;
  nameChild(document, nameTemplate, child);
  ++document.chunkChildren;
}

void unlinkChild(ArbForestChild& child) {
  if (child.prevSibling) child.prevSibling->nextSibling = child.nextSibling;
  if (child.nextSibling) child.nextSibling->prevSibling = child.prevSibling;
  ArbForest* const parent = child.parent;
  if (!parent) return;
  if (parent->firstChild == &child) parent->firstChild = child.nextSibling;
  if (parent->lastChild == &child) parent->lastChild = child.prevSibling;
}

}  // namespace arbtree
