/* A document of a million texts, of which only the ones asked for are made. */
#include <arbtree/arbtree.h>
#include <stdio.h>

static ArbDocument* document;
static ArbNode* root;
static uint32_t made;

/* Makes texts until the chunk is full; the next run goes on where this one stopped. */
static uint32_t ARB_CALL produce(uint32_t a, uint32_t b, uint32_t c) {
  uint32_t full = 0;
  (void)a, (void)b, (void)c;
  while (!full && made < 1000000) {
    const char16_t digits[] = {(char16_t)(u'0' + made / 10 % 10), (char16_t)(u'0' + made % 10)};
    ArbNode* text = 0;
    if (ArbTreeCreateNode(root->tree, ARB_ELEM_TEXT, 0, &text) != ARB_OK) return ARB_ERR_NOMEMORY;
    ArbAbstractTextNodeSetValue(text, digits, 2);
    ArbNodeAppendChild(root, text);
    ArbNodeProducerRelease(text); /* the producer is done with it */
    ++made;
    ArbDocumentQueryBreak(document, &full);
  }
  return full ? 0 : (ArbNodeAllChildrenAttached(root), ARB_STATUS_END);
}

int main(void) {
  ArbHostContext host = {.startEntry = produce, .continueEntry = produce};
  ArbTree* tree;
  ArbNode* text = 0;
  if (ArbDocumentCreate(0, &host, 0, 0, 0, &document) != ARB_OK) return 1;
  if (ArbDocumentCreateTree(document, 0, &tree) != ARB_OK) return 1;
  ArbForestAppendChild(ArbDocumentRootForest(document), (ArbForestChild*)tree);
  if (ArbTreeWaitRootNode(tree, &root) != ARB_OK || ArbNodeWaitFirstChild(root, &text) != ARB_OK) return 1;
  for (int i = 0; text && i < 10000; ++i) {
    ArbNode* next = 0;
    if (ArbNodeWaitNextSibling(text, &next) != ARB_OK) return 1; /* runs the producer when need be */
    ArbNodeConsumerRelease(text);                                /* so is the consumer: the node is freed */
    text = next;
  }
  printf("10000 texts read, %u made, %u freed\n", made, root->freedChildCount);
  return ArbDocumentDestroy(document) == ARB_OK ? 0 : 1;
}
