/* A host of the installed library: a tree with two texts, the second made only when it is waited for. */
#include <arbtree/arbtree.h>
#include <arbtree/rtcore.h>
#include <stddef.h>
#include <stdio.h>

static ArbNode* root;

static uint32_t ARB_CALL produce(uint32_t argument1, uint32_t argument2, uint32_t argument3) {
  ArbNode* text = NULL;
  (void)argument1, (void)argument2, (void)argument3;
  if (ArbTreeCreateNode(root->tree, ARB_ELEM_TEXT, NULL, &text) != ARB_OK) return ARB_ERR_NOMEMORY;
  return ArbNodeAppendChild(root, text);
}

static int run(void) {
  static ArbHostContext context;
  ArbDocument* document;
  ArbTree* tree;
  ArbNode* first = NULL;
  ArbNode* second = NULL;
  context.startEntry = produce;
  context.continueEntry = produce;
  return ArbDocumentCreate(0, &context, NULL, 0, 0, &document) == ARB_OK &&
         ArbDocumentCreateTree(document, NULL, &tree) == ARB_OK &&
         ArbForestAppendChild(ArbDocumentRootForest(document), (ArbForestChild*)tree) == ARB_OK &&
         ArbTreeWaitRootNode(tree, &root) == ARB_OK && ArbNodeWaitFirstChild(root, &first) == ARB_OK &&
         ArbNodeWaitNextSibling(first, &second) == ARB_OK && second && second != first &&
         ArbDocumentDestroy(document) == ARB_OK;
}

int main(void) {
  const int good = run() && RtTranslateException(7) == RT_STATUS_EXCEPTION;
  puts(good ? "good" : "bad");
  return good ? 0 : 1;
}
