/*
 * A link to a place further on. The first paragraph of a book refers to its appendix, which the producer makes at the
 * very end. The reference exists before its node: the consumer holds it, asks what it is called, and waits on it.
 */
#include <arbtree/arbtree.h>
#include <stdio.h>
#include <stdlib.h>

#define PARAGRAPHS 20000u
#define KEY_LINK 1u /* metadata of a paragraph: the reference that it links to */

static ArbDocument* document;
static ArbNode* root;
static ArbNodeRef* appendix; /* the producer's: where it will make the appendix */
static uint32_t made;

static void require(int holds, const char* what) {
  if (holds) return;
  fprintf(stderr, "forward_reference: %s failed\n", what);
  exit(1);
}

static void print(const char16_t* text, uint32_t length) {
  uint32_t i;
  for (i = 0; i < length; ++i) putchar(text[i] < 128 ? (char)text[i] : '?');
}

/* ---- The producer ---- */

/* Makes a text, on a reference if there is one. The caller releases it. */
static ArbNode* appendText(ArbNodeRef* reference, const char16_t* text, uint32_t length) {
  ArbNode* node = NULL;
  require(ArbTreeCreateNode(root->tree, ARB_ELEM_TEXT, reference, &node) == ARB_OK, "ArbTreeCreateNode");
  require(ArbAbstractTextNodeSetValue(node, text, length) == ARB_OK, "ArbAbstractTextNodeSetValue");
  require(ArbNodeAppendChild(root, node) == ARB_OK, "ArbNodeAppendChild");
  return node;
}

/* First run: the paragraph with the link. A cell is valid as long as its tree, so the paragraph can carry it. */
static uint32_t ARB_CALL startBook(uint32_t a, uint32_t b, uint32_t c) {
  ArbString* name = NULL;
  ArbNode* paragraph;
  (void)a, (void)b, (void)c;
  require(ArbDocumentCreateString(document, u"appendix", &name) == ARB_OK, "ArbDocumentCreateString");
  require(ArbTreeCreateNamedNodeReference(root->tree, name, &appendix) == ARB_OK, "ArbTreeCreateNamedNodeReference");
  paragraph = appendText(NULL, u"see the appendix", 16);
  require(ArbNodeSetMetadata(paragraph, KEY_LINK, &appendix, sizeof appendix) == ARB_OK, "ArbNodeSetMetadata");
  ArbNodeProducerRelease(paragraph);
  made = 1;
  return 0;
}

/* All other runs: paragraphs until the chunk is full, and last the appendix on the reference that waits for it. */
static uint32_t ARB_CALL continueBook(uint32_t a, uint32_t b, uint32_t c) {
  uint32_t full = 0;
  ArbNode* node;
  (void)a, (void)b, (void)c;
  for (; !full && made < PARAGRAPHS; ++made) {
    ArbNodeProducerRelease(appendText(NULL, u"a paragraph", 11));
    ArbDocumentQueryBreak(document, &full);
  }
  if (full) return 0;
  node = appendText(appendix, u"the appendix itself", 19);
  /* The node has the reference's name already. Set as its ID string it also binds the name, and the cell outlives it.
   */
  require(ArbNodeSetIDString(node, node->idString) == ARB_OK, "ArbNodeSetIDString");
  ArbNodeProducerRelease(node);
  ArbNodeAllChildrenAttached(root);
  return ARB_STATUS_END;
}

/* ---- The consumer ---- */

static void printName(ArbNodeRef* link) {
  ArbString* name = NULL;
  require(ArbNodeRefQueryIdString(link, &name) == ARB_OK && name, "ArbNodeRefQueryIdString");
  print(name->text, name->length);
}

static void printText(ArbNode* node) {
  const char16_t* text = NULL;
  uint32_t length = 0;
  require(ArbAbstractTextNodeGetValue(node, &text, &length) == ARB_OK, "ArbAbstractTextNodeGetValue");
  print(text, length);
}

/* Releases everything from a node to the end of its list. The next sibling is asked for first, as always. */
static void releaseFrom(ArbNode* node) {
  while (node) {
    ArbNode* next = NULL;
    require(ArbNodeWaitNextSibling(node, &next) == ARB_OK, "ArbNodeWaitNextSibling");
    require(ArbNodeConsumerRelease(node) == ARB_OK, "ArbNodeConsumerRelease");
    node = next;
  }
}

int main(void) {
  ArbHostContext host = {.startEntry = startBook, .continueEntry = continueBook};
  ArbTree* tree = NULL;
  ArbNode* first = NULL;
  ArbNode* target = NULL;
  ArbNodeRef* link = NULL;
  uint32_t size = sizeof link;
  require(ArbDocumentCreate(0, &host, NULL, 0, 0, &document) == ARB_OK, "ArbDocumentCreate");
  require(ArbDocumentCreateTree(document, NULL, &tree) == ARB_OK, "ArbDocumentCreateTree");
  require(ArbForestAppendChild(ArbDocumentRootForest(document), (ArbForestChild*)tree) == ARB_OK, "appending the tree");
  require(ArbTreeWaitRootNode(tree, &root) == ARB_OK, "ArbTreeWaitRootNode");

  require(ArbNodeWaitFirstChild(root, &first) == ARB_OK && first, "ArbNodeWaitFirstChild");
  require(ArbNodeGetMetadata(first, KEY_LINK, &link, &size) == ARB_OK, "ArbNodeGetMetadata");
  printf("%u paragraph made: \"", made);
  printText(first);
  printf("\", a link to \"");
  printName(link);
  printf("\", which is %s\n", ArbNodeRefQueryNode(link, &target) == ARB_ERR_NOTREADY ? "not there yet" : "there");

  require(ArbNodeRefWaitNode(link, document, &target) == ARB_OK && target, "ArbNodeRefWaitNode");
  printf("%u paragraphs made: the link leads to \"", made);
  printText(target);
  printf("\"\n");

  releaseFrom(first);
  printf("all released: \"");
  require(link->state == ARB_REF_FREED_ID, "keeping the cell of a freed node");
  print(((ArbString*)link->value)->text, ((ArbString*)link->value)->length);
  printf("\" is %s\n", ArbNodeRefQueryNode(link, &target) == ARB_ERR_NOTREADY ? "gone" : "still there");
  return ArbDocumentDestroy(document) == ARB_OK ? 0 : 1;
}
