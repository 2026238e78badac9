/*
 * arbtree: large structured documents that are produced while they are consumed.
 *
 * A document is a tree of child documents: forests, files, and trees of nodes. The host's producer makes the content
 * chunk by chunk, and only when the consumer asks for it. This header is the whole public interface: status codes,
 * constants, the records that cross the interface, and the exported functions, grouped by what they work on. It
 * compiles as C11 and as C++.
 *
 * Rules that hold for every call:
 *  - All state hangs off a document. A document and everything in it is used from one thread at a time.
 *  - Failures are answered by the status alone; the library throws nothing and logs nothing. The host's own bail-out
 *    may leave a waiting call by a non-local exit, and the document stays usable. A wait made inside the producer of
 *    another document lies within that document's guard: an exception there fails that document's run.
 *  - A null document, tree, node, child document or required out-pointer is answered with ARB_ERR_BADARG before every
 *    other check, and nothing is changed, unless the function says that its null has a meaning. Calls that return no
 *    status answer 0 or nothing.
 *  - "Query" calls answer from what exists and never run the producer. "Wait" calls run it, chunk by chunk on the
 *    caller's thread, until the answer exists or production has ended; during a run they answer ARB_ERR_NOTREADY when
 *    they would have to run it again. "Get" calls belong to the producer's side and never answer ARB_ERR_NOTREADY.
 *  - Text is UTF-16 in 16-bit units, zero-terminated; lengths count units and exclude the terminator.
 *
 * How to read the blocks of the functions:
 *  - Statuses stand in the order of the checks; the first that fails is the answer. A refused call changes nothing
 *    unless its block says so. ARB_ERR_BADARG for the null arguments above is not listed again; "may be null" marks the
 *    pointers that it does not concern.
 *  - "Cleared" means set to null or 0 at entry, before every status listed; "untouched" means not written.
 *  - A call runs no function of the host, the producer included, unless its block says that it runs the producer,
 *    raises an event (runs the event callbacks), calls hooks, or calls a function that it names.
 *  - "A run's failure" is what a Wait answers when it has to run the producer and cannot: ARB_ERR_NOTREADY during a
 *    run, else the status with which the producer failed, now or in an earlier run. Either way the call may be made
 *    again; answers that need no run are still given. When production ends before the answer exists a Wait answers
 *    ARB_OK and "nothing" as its block says, at once on every later call. A host whose status callback asks to abandon
 *    may leave a Wait by its own non-local exit.
 *  - Pointers that come out belong to the library. A node is valid until it is freed (see "Completion and release"), a
 *    child document until it is destroyed, a string as long as its document, a cell as long as its tree; but a cell
 *    serves another node once its own is freed, unless that had ARB_NODE_HAS_ID or ARB_NODE_SEPARATE_STREAM.
 */
#ifndef ARBTREE_ARBTREE_H
#define ARBTREE_ARBTREE_H

#include <stdint.h>
#ifndef __cplusplus
#include <uchar.h>
#endif

#if defined(_WIN32)
#if defined(ARBTREE_BUILDING)
#define ARB_API __declspec(dllexport)
#elif defined(ARBTREE_STATIC)
#define ARB_API
#else
#define ARB_API __declspec(dllimport)
#endif
#define ARB_CALL __cdecl
#else
#define ARB_API __attribute__((visibility("default")))
#define ARB_CALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------------------------
 * Status codes
 * ------------------------------------------------------------------------------------------------------------------ */

typedef uint32_t ArbStatus;

#define ARB_OK 0u                 /* success */
#define ARB_ERR_NOMEMORY 13u      /* an allocation failed */
#define ARB_ERR_BADARG 15u        /* a null or invalid argument, or an object of a kind that the call does not serve */
#define ARB_ERR_NOTFOUND 25u      /* no such entry: key, callback, slot, factory; or a factory that made no node */
#define ARB_ERR_NAMESPACE 30u     /* namespace 2, the built-in one, cannot be registered */
#define ARB_ERR_SMALLBUFFER 46u   /* the caller's buffer is too small; the size needed has been stored */
#define ARB_ERR_BADENCODING 50u   /* an encoding other than 0, 1 or 2 */
#define ARB_ERR_CURSORSTACK 137u  /* the cursor stack is empty (pop) or full (push) */
#define ARB_ERR_NOTREADY 145u     /* not produced yet, or a read-ahead run is already in progress */
#define ARB_STATUS_BREAK 451u     /* producer result: stopped at a break; the next run calls startEntry */
#define ARB_STATUS_END 452u       /* production has ended; Wait calls turn it into ARB_OK */
#define ARB_ERR_RELEASED 2048u    /* the calling side has already released the node or child document */
#define ARB_ERR_ATTACHED 2049u    /* the node is already in a child list, or connected to the root */
#define ARB_ERR_DETACHED 2050u    /* the node is in no child list, or the child document in no forest */
#define ARB_ERR_CLOSED 2051u      /* the child list concerned is closed */
#define ARB_ERR_LOCKED 2052u      /* the tree, node or forest no longer accepts this change */
#define ARB_ERR_FOREIGN 2056u     /* the nodes belong to different trees */
#define ARB_ERR_MODE 2057u        /* the call is not available in this document's mode */

/* ------------------------------------------------------------------------------------------------------------------
 * Constants
 * ------------------------------------------------------------------------------------------------------------------ */

/* ArbDocumentHead.flags */
#define ARB_DOC_RUNNING 1u        /* a read-ahead run is in progress */
#define ARB_DOC_START_PENDING 8u  /* the next run calls the producer's startEntry */
#define ARB_DOC_ENDED 16u         /* nothing more will be produced */
#define ARB_DOC_PRODUCER_ONLY 32u /* the document has no consumer */

/* ArbNode.flags */
#define ARB_NODE_LINKED 1u             /* in a parent's child list */
#define ARB_NODE_IN_TREE 2u            /* connected to the tree's root */
#define ARB_NODE_ATTRIBUTES_DONE 4u    /* the producer has finished the attributes */
#define ARB_NODE_CHILDREN_DONE 8u      /* the child list is closed */
#define ARB_NODE_HAS_ID 16u            /* can be referred to by identifier; the cell outlives the node */
#define ARB_NODE_PRODUCER_RELEASED 32u /* released by the producer */
#define ARB_NODE_CONSUMER_RELEASED 64u /* released by the consumer */

/* ArbNode.flags2 */
#define ARB_NODE_SEPARATE_STREAM 1u /* written to a stream of its own; the cell outlives the node */
#define ARB_NODE_FREEING 2u         /* its subtree is being freed */
#define ARB_NODE_SKIP_IF_EMPTY 4u   /* carried for the consumer */

/* ArbNodeRef.state */
#define ARB_REF_NODE 0u     /* resolved: value is the node */
#define ARB_REF_FLOATING 1u /* value is the node number reserved for the node to come */
#define ARB_REF_NAMED 2u    /* value is the ID string of the node to come */
#define ARB_REF_FREED 3u    /* value is the freed node's number */
#define ARB_REF_FREED_ID 4u /* value is the freed node's ID string */

/* ArbForestChild.kind */
#define ARB_CHILD_FOREST 1u
#define ARB_CHILD_FILE 2u
#define ARB_CHILD_TREE 3u

/* ArbForestChild.flags */
#define ARB_CHILD_ATTACHED 1u           /* in a forest; the root forest has it from birth */
#define ARB_CHILD_CLOSED 2u             /* a forest's child list is complete */
#define ARB_CHILD_PRODUCER_DONE 4u      /* the producer has finished the child */
#define ARB_CHILD_PRODUCER_RELEASED 8u  /* the producer will not touch the child again */
#define ARB_CHILD_CONSUMER_RELEASED 16u /* the consumer will not navigate from the child again */

/* Event codes of event callbacks; the argument is a node. Hosts may raise other codes of their own. */
#define ARB_EVENT_NODE_CREATED 1u
#define ARB_EVENT_NODE_LINKED 2u
#define ARB_EVENT_NODE_IN_TREE 3u
#define ARB_EVENT_ATTRIBUTES_DONE 4u
#define ARB_EVENT_CHILDREN_DONE 5u
#define ARB_EVENT_PRODUCER_RELEASE 6u
#define ARB_EVENT_CONSUMER_RELEASE 7u
#define ARB_EVENT_NODE_FREED 8u

/* Events of producer node hooks. */
#define ARB_HOOK_QUERY 1u            /* raised by the host only; the hook gets the element id and answers *result */
#define ARB_HOOK_NODE 2u             /* raised by the host only; the hook gets the node */
#define ARB_HOOK_ATTRIBUTES_DONE 3u  /* raised by the library; the hook gets the node */
#define ARB_HOOK_PRODUCER_RELEASE 4u /* raised by the library; the hook gets the node */

/* Source-access slots of a document. */
#define ARB_INTERFACE_FILE_HANDLE 0u
#define ARB_INTERFACE_OUTPUT_FILE_HANDLE 1u
#define ARB_INTERFACE_FORMAT_INFO 2u

/*
 * Element ids name node kinds and are compared as whole 32-bit values:
 *
 *    31        26 25                 14 13                   0
 *   +------------+---------------------+----------------------+
 *   | definer's  | namespace (0..4095) | local id (0..16383)  |
 *   +------------+---------------------+----------------------+
 */
#define ARB_NAMESPACE_BUILTIN 2u
#define ARB_ELEMENT_NAMESPACE(elementId) (((elementId) >> 14) & 0xFFFu)
#define ARB_ELEM_ROOT 0x20008001u
#define ARB_ELEM_TEXT 0x08008002u
#define ARB_ELEM_TEXT_3 0x0C008003u
#define ARB_ELEM_TEXT_4 0x1C008004u
#define ARB_ELEM_ENCODED_BYTES 0x08008005u
#define ARB_ELEM_EXTERNAL_REFERENCE 0x10008006u

/* The value attribute of the four text-bearing kinds. */
#define ARB_ATTR_VALUE 0xE8008000u

/* ArbNodeType.typeFlags: the attribute area can only be compared, hashed and copied by the kind's operations. */
#define ARB_TYPE_ATTR_FUNCTIONS 0x20u

/* Encodings of an encoded-bytes value. */
#define ARB_ENCODING_UTF16 0u  /* the bytes, read as UTF-16 units */
#define ARB_ENCODING_BASE64 1u /* base64 text with a line feed after every 64 units */
#define ARB_ENCODING_RAW8 2u   /* the bytes as they are */

/* Flags of an encoded-bytes value; other bits are kept as given. */
#define ARB_BYTES_KEEP_ORDER 0x01u
#define ARB_BYTES_SWAP_ORDER 0x02u
#define ARB_BYTES_UNITS8 0x10u
#define ARB_BYTES_UNITS16 0x20u
#define ARB_BYTES_UNITS_OTHER 0x40u

/* ------------------------------------------------------------------------------------------------------------------
 * Records
 * ------------------------------------------------------------------------------------------------------------------ */

typedef struct ArbDocument ArbDocument;     /* opaque, but for the fields that ArbDocumentHead names */
typedef struct ArbDocumentHead ArbDocumentHead;
typedef struct ArbTree ArbTree;             /* opaque; begins with an ArbForestChild, so a tree is cast to one */
typedef struct ArbSavedHooks ArbSavedHooks; /* opaque: a snapshot of a tree's producer node hooks */
typedef struct ArbMetadataEntry ArbMetadataEntry;
typedef struct ArbHostContext ArbHostContext;
typedef struct ArbNode ArbNode;
typedef struct ArbNodeRef ArbNodeRef;
typedef struct ArbNodeType ArbNodeType;
typedef struct ArbAttributeDef ArbAttributeDef;
typedef struct ArbTextNode ArbTextNode;
typedef struct ArbEncodedBytesNode ArbEncodedBytesNode;
typedef struct ArbExternalReferenceNode ArbExternalReferenceNode;
typedef struct ArbForestChild ArbForestChild;
typedef struct ArbForest ArbForest;
typedef struct ArbFile ArbFile;
typedef struct ArbString ArbString;
typedef struct ArbTraverserCallbacks ArbTraverserCallbacks;
struct BaseStream; /* a stream handle of the baseutil library */

/* The fields that every document begins with. Hosts read them; the library writes them. */
struct ArbDocumentHead {
  uint32_t source;             /* the host's handle, as given to ArbDocumentCreate */
  ArbHostContext *hostContext; /* likewise */
  uint32_t flags;              /* ARB_DOC_... */
  uint32_t producerError;      /* status of the run that failed; 0 while none has */
  uint32_t childCounter;       /* last child-document id handed out */
  ArbForest *rootForest;       /* where producer and consumer begin; owned by the document */
};

/*
 * A producer entry point. It produces one chunk with the library's own calls, asks ArbDocumentQueryBreak between units
 * of work, and returns soon after that answers 1. Results: 0 go on later through continueEntry, ARB_STATUS_BREAK go on
 * later through startEntry, ARB_STATUS_END production has ended; any other value is a failure that the document keeps.
 * The arguments are 32-bit values on every platform; a host with 64-bit pointers passes handles.
 */
typedef uint32_t(ARB_CALL *ArbProducerEntry)(uint32_t producerArg1, uint32_t producerArg2, uint32_t producerArg3);

/*
 * The host's context record. The library reads the five named fields and nothing else; the areas between them belong
 * to the host, which usually embeds its own data there or behind the record. The byte positions on 32-bit platforms
 * are part of the contract; on 64-bit platforms order and area sizes stay and pointers widen.
 */
struct ArbHostContext {
  uint8_t hostArea1[236];
  ArbProducerEntry startEntry;    /* first run, and every run after one that returned ARB_STATUS_BREAK */
  ArbProducerEntry continueEntry; /* every other run */
  uint8_t hostArea2[36];
  uint32_t producerArg3;
  uint8_t hostArea3[28];
  uint32_t producerArg1;
  uint32_t producerArg2;
};

/*
 * A node-reference cell. Every link between nodes and every reference that a host holds is a pointer to a cell, so a
 * link can exist before its node and be read after it. Cells belong to their tree; hosts only read them.
 */
struct ArbNodeRef {
  uint32_t state;  /* ARB_REF_... */
  uintptr_t value; /* node pointer, number or ID string pointer, as the state says */
};

/*
 * The head that every node begins with; the fields of its kind follow it. A factory sets size and nodeType and leaves
 * the rest zero; everything else is the library's to write.
 */
struct ArbNode {
  ArbTree *tree;               /* the owning tree */
  uint32_t number;             /* unique in the document */
  ArbString *idString;         /* null if none */
  const ArbNodeType *nodeType; /* set by the factory */
  ArbNodeRef *parentCell;      /* null while in no child list */
  ArbNodeRef *prevSiblingCell;
  ArbNodeRef *nextSiblingCell;
  uint32_t childCount;      /* children linked, freed ones included */
  uint32_t freedChildCount; /* of them freed */
  ArbNodeRef *firstChildCell; /* first child alive, or null */
  ArbNodeRef *lastChildCell;  /* last child alive, or null */
  uint16_t size;              /* bytes of the whole record; set by the factory */
  uint8_t flags;              /* ARB_NODE_LINKED ... */
  uint8_t flags2;             /* ARB_NODE_SEPARATE_STREAM ...; further bits are the library's own */
  ArbNodeRef *cell;           /* the node's own cell */
  ArbMetadataEntry *metadata; /* null when empty */
};

/* ARB_ELEM_TEXT, ARB_ELEM_TEXT_3, ARB_ELEM_TEXT_4 */
struct ArbTextNode {
  ArbNode node;
  char16_t *text;      /* owned by the node; null when there is no value */
  uint32_t textLength; /* units, without the terminator */
};

/* ARB_ELEM_ENCODED_BYTES. For ARB_ENCODING_RAW8 text points at textLength bytes and a zero byte. */
struct ArbEncodedBytesNode {
  ArbNode node;
  char16_t *text;
  uint32_t textLength;
  uint32_t info;          /* given with the value; the caller's own */
  uint32_t encoding;      /* ARB_ENCODING_... */
  uint32_t encodingFlags; /* ARB_BYTES_... */
};

/* ARB_ELEM_EXTERNAL_REFERENCE: names an entity held by another child document. */
struct ArbExternalReferenceNode {
  ArbNode node;
  ArbForestChild *target;
  char16_t entityName[64]; /* at most 63 units and a zero */
};

/* One attribute of a kind. */
struct ArbAttributeDef {
  uint32_t attributeId;   /* in the element-id encoding; clones skip those whose top byte is 0x37 */
  uint32_t attributeInfo; /* handed to the traversal's attribute callback */
};

/*
 * The descriptor of a node kind: static, read-only data shared by all its nodes. Any operation may be null where the
 * kind has no use for it; getAttribute, setAttribute and hasAttribute are needed by a kind with attributes, hash and
 * isEqual by a kind with ARB_TYPE_ATTR_FUNCTIONS. The library never calls write and read.
 *
 *  getAttribute(node, index)         the value of attribute `index`: a number or a pointer that stays the node's
 *  setAttribute(node, index, value)  sets it from a value of the form that getAttribute returns; a status
 *  hasAttribute(node, index)         1 when the attribute is present, else 0
 *  hash(node)                        hash of the attribute area
 *  isEqual(a, b)                     1 when the attribute areas of two nodes of this kind are equal, else 0
 *  write(node, stream)               writes the node to a stream; a status
 *  read(node, stream)                reads what write wrote back into a record of the same kind; a status
 */
struct ArbNodeType {
  uint32_t elementId;
  uint32_t typeFlags; /* ARB_TYPE_ATTR_FUNCTIONS; other bits are the definer's */
  uint32_t reserved[2];
  uint32_t attributeCount;
  const ArbAttributeDef *attributes; /* null when there are none */
  uintptr_t(ARB_CALL *getAttribute)(ArbNode *node, uint32_t index);
  uint32_t(ARB_CALL *setAttribute)(ArbNode *node, uint32_t index, uintptr_t value);
  uint32_t(ARB_CALL *hasAttribute)(ArbNode *node, uint32_t index);
  uint32_t(ARB_CALL *hash)(ArbNode *node);
  uint32_t(ARB_CALL *isEqual)(ArbNode *a, ArbNode *b);
  uint32_t(ARB_CALL *write)(ArbNode *node, struct BaseStream *stream);
  uint32_t(ARB_CALL *read)(ArbNode *node, struct BaseStream *stream);
};

/* The header that every child document begins with. Hosts read it; the library writes it. */
struct ArbForestChild {
  uint32_t kind;      /* ARB_CHILD_FOREST, ARB_CHILD_FILE or ARB_CHILD_TREE */
  uint32_t id;        /* sequence number in the document; the root forest is 1 */
  char16_t name[260]; /* at most 259 units and a zero; made at creation, never changed */
  uint16_t formatId;  /* as the source-access library knows it */
  ArbForest *parent;  /* null for the root forest and for a child not appended */
  ArbDocument *document;
  ArbForestChild *prevSibling;
  ArbForestChild *nextSibling;
  uint32_t flags; /* ARB_CHILD_ATTACHED ... */
  ArbMetadataEntry *metadata;
};

/* A forest: a list of child documents. */
struct ArbForest {
  ArbForestChild child;
  uint32_t childCount; /* children ever appended */
  ArbForestChild *firstChild;
  ArbForestChild *lastChild;
  uint32_t archiveType; /* 0 the root forest, 1 at creation */
  /* Kept by the library's walks over nested forests, which use no stack: where each side's walk goes on after it. */
  ArbForestChild *producerWalkNext;
  ArbForestChild *consumerWalkNext;
};

/* A file: content that the library does not parse. */
struct ArbFile {
  ArbForestChild child;
  ArbHostContext *hostContext; /* handed to the writer component */
};

/* A text interned in a document: two strings of one document have the same text exactly when they are one record. */
struct ArbString {
  uint32_t length;      /* units of text, without the terminator */
  ArbNodeRef *boundRef; /* the cell bound to this text as an identifier; null if none */
  uint32_t greater;     /* index of the string that heads the subtree of greater texts; 0 none */
  uint32_t less;        /* the same for smaller texts */
  char16_t text[1];     /* length units and a zero, held in the record */
};

/* ------------------------------------------------------------------------------------------------------------------
 * Functions that the host or a factory supplies
 * ------------------------------------------------------------------------------------------------------------------ */

/* A source-access function as a slot stores it; cast it to the slot's own type. */
typedef void(ARB_CALL *ArbInterfaceFunction)(void);

/* Slots 0 and 1: stores the file handle of a source's input or output file; 0 on success. */
typedef uint32_t(ARB_CALL *ArbFileHandleFunction)(uint32_t source, uint32_t *fileHandle);

/*
 * An event callback, called synchronously inside the call that raises the event. It may call the library; its result
 * is ignored, and it must not throw. It does not cause the node that it is told of, or an ancestor of it, to be freed
 * before the call that raised the event has returned.
 */
typedef uint32_t(ARB_CALL *ArbEventCallback)(ArbDocument *document, uint32_t event, void *argument, void *context);

/*
 * A producer node hook. The argument is the element id for ARB_HOOK_QUERY and the node (cast to an integer) for every
 * other event. Only the result of ARB_HOOK_QUERY is used. What an event callback may do, a hook may do.
 */
typedef uint32_t(ARB_CALL *ArbProducerNodeHookFunction)(uintptr_t argument, void *context);

/*
 * Makes a node of an element id: allocates the whole record, zeroes it, sets size and nodeType and whatever the kind
 * needs, and stores it in *node (null on entry). For an element id that it does not make it stores nothing. The
 * result is not used.
 */
typedef uint32_t(ARB_CALL *ArbNodeFactory)(ArbTree *tree, uint32_t elementId, ArbNode **node);

/* Releases all that the node's kind owns, and its record. The node is already unlinked. The result is not used. */
typedef uint32_t(ARB_CALL *ArbNodeDestroyer)(ArbNode *node);

/*
 * The callbacks of ArbDocumentOrderTraverser; any of them may be null. A result of zero means stop, except where the
 * field says otherwise. Callbacks do not release nodes of the subtree that is being walked.
 */
struct ArbTraverserCallbacks {
  /* Every node that is not one of the four text-bearing kinds, first. */
  uint32_t(ARB_CALL *startElement)(ArbNode *node, uint32_t elementId, void *userData);
  /* After the attribute steps; zero skips the children, and the walk goes on with endElement. */
  uint32_t(ARB_CALL *enterChildren)(ArbNode *node, uint32_t elementId, void *userData);
  /* Last; the result is the result of the node's visit. */
  uint32_t(ARB_CALL *endElement)(ArbNode *node, uint32_t elementId, void *userData);
  /* Once the attributes are done. */
  uint32_t(ARB_CALL *startAttributes)(ArbNode *node, uint32_t elementId, void *userData);
  /* Each attribute that is present, in order. */
  uint32_t(ARB_CALL *attribute)(ArbNode *node, uint32_t elementId, uint32_t attributeId, uintptr_t value,
                                uint32_t attributeInfo, void *userData);
  /* After the attributes. */
  uint32_t(ARB_CALL *endAttributes)(ArbNode *node, uint32_t elementId, void *userData);
  /* ARB_ELEM_TEXT and ARB_ELEM_ENCODED_BYTES; text is null when there is no value. */
  uint32_t(ARB_CALL *textNode)(const char16_t *text, uint32_t length, void *userData);
  /* ARB_ELEM_TEXT_4 */
  uint32_t(ARB_CALL *text4Node)(const char16_t *text, uint32_t length, void *userData);
  /* ARB_ELEM_TEXT_3 */
  uint32_t(ARB_CALL *text3Node)(const char16_t *text, uint32_t length, void *userData);
};

/* ------------------------------------------------------------------------------------------------------------------
 * Documents
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Names. Every child document is named once, when it is made, from a pattern (null: "%f.%e"), cut at 259 units:
 *   %f %b %x   file name of the input path; the same up to its last "." (without a ".": %b nothing, %x the whole name)
 *   %F %B %X   the same of the output path
 *   %e         extension of the child's format, without a dot; nothing for an unknown format
 *   %n         the child's id in decimal
 * "%" and any other unit write nothing. A path that cannot be had counts as "out.xml". Making a child document calls
 * the source-access slots 0 and 1 until they have given the paths, which the document then keeps.
 */

/*
 * Makes a document and its root forest (id 1, archive type 0), named from nameTemplate. Nothing is produced yet.
 *   source         handed to the source-access slots
 *   hostContext    borrowed until the document, and every file that carries it on, is destroyed. May be null: a
 *                  document without a producer, whose every run fails with ARB_ERR_BADARG
 *   nameTemplate   may be null
 *   statusContext  handed to the status callback after a run that attached nodes
 *   mode           1: producer-only, no consumer; any other value: a document with a consumer
 *
 * ARB_OK: the caller owns *document and gives it back with ArbDocumentDestroy.
 * ARB_ERR_NOMEMORY: nothing was made; *document is untouched when the document itself found no memory, null when the
 * element-definition library or the root forest found none. Any other status comes from the element-definition library;
 * *document is null.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentCreate(uint32_t source, ArbHostContext *hostContext, const char16_t *nameTemplate,
                                             uint32_t statusContext, uint32_t mode, ArbDocument **document);

/*
 * Makes a forest in no forest yet: archive type 1, format 1998, the document's next child id. It counts as one child
 * document of the current chunk. nameTemplate may be null.
 * ARB_OK: the caller owns *forest until ArbForestAppendChild hands it over, else gives it back with ArbForestDestroy.
 * ARB_ERR_NOMEMORY: *forest is untouched.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentCreateForest(ArbDocument *document, const char16_t *nameTemplate,
                                                   ArbForest **forest);

/*
 * Destroys the root forest with everything appended below it, then all that the document owns; every pointer that came
 * out of the document is invalid afterwards. Raises ARB_EVENT_NODE_FREED once for each tree, with its root. Always
 * ARB_OK. Child documents that were never appended, and nodes not connected to their tree's root, are not destroyed:
 * the caller destroys them first. Must not be called from the producer, a callback or a hook of this document.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentDestroy(ArbDocument *document);

/*
 * The document's root forest, in which the producer puts the first child documents and the consumer looks for them.
 * Not an exported function: it reads the field. REQUIRES: document is not null.
 */
static inline ArbForest *ArbDocumentRootForest(const ArbDocument *document) {
#ifdef __cplusplus
  return reinterpret_cast<const ArbDocumentHead *>(document)->rootForest;
#else
  return ((const ArbDocumentHead *)document)->rootForest;
#endif
}

/*
 * Reads a source-access slot, ARB_INTERFACE_...
 * ARB_OK: *function is the slot's function. ARB_ERR_BADARG: no slot has this index; *function is null.
 * ARB_ERR_NOTFOUND: the slot is empty; *function is null. A new document has all three filled, and no call empties one.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentGetInterface(ArbDocument *document, uint32_t index,
                                                   ArbInterfaceFunction *function);

/*
 * Replaces a source-access slot. The library calls slots 0 and 1, as an ArbFileHandleFunction with the document's
 * source, to fetch the input and the output path; once a path has been fetched its slot is not called again. It only
 * stores slot 2. ARB_OK, or ARB_ERR_BADARG: no slot has this index, or the function is null; the slot is unchanged.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentSetInterface(ArbDocument *document, uint32_t index,
                                                   ArbInterfaceFunction function);

/*
 * Does nothing and answers ARB_OK whatever it is given, a null document included. What bounds memory is the chunk
 * budgets and the releases.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentSetMemoryLimit(ArbDocument *document, uint32_t bytes);

/* ------------------------------------------------------------------------------------------------------------------
 * Read-ahead: running the producer
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Runs the producer for one chunk: clears the chunk's counters and calls startEntry or continueEntry once. Wait calls
 * do this by themselves; a host calls it to produce ahead, or to drive a document that has no consumer.
 * ARB_STATUS_END: production has ended, in this run or earlier; the producer is never called again.
 * ARB_ERR_NOTREADY: a run is in progress (the caller is the producer, or was called during a run); it is not disturbed.
 * ARB_OK: the run is over, production goes on with the next one.
 * Any other status: the producer failed, in this run or earlier. It is never called again and every later run answers
 * this status; what exists can still be walked, released and destroyed. ARB_ERR_BADARG is also kept this way for a run
 * that found no host context or a null entry.
 *
 * An exception that leaves the producer is caught, and its 32-bit code translated by the rtcore library; the result
 * counts as the producer's own. These are C++ exceptions (RtCodedException of arbtree/rtcore.h carries its code, every
 * other has a fixed one) and, on Windows, all structured exceptions under their own codes. A C++ exception is only seen
 * by the guard of a library with the same C++ runtime; RtProducer in arbtree/rtcore.h is for producers with another, as
 * most on Windows. The forced unwinding of thread cancellation passes through instead, and the document is no longer
 * running then.
 *
 * After a run that attached a node to a tree the status callback of the baseutil library gets the statusContext. When
 * it answers 20 or 32 the bail-out is called, which usually leaves this call by a non-local exit: the run is complete
 * by then, and the document stays usable.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentReadAhead(ArbDocument *document);

/*
 * For the producer, between units of work: *due is 1 when it should return soon, else 0. A break is due when one was
 * forced, when the bytes attached in this run have reached the chunk break size, when more than 4096 nodes were created
 * in it, or more than 32 child documents. Always ARB_OK. Between runs the counters are those of the last run.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentQueryBreak(ArbDocument *document, uint32_t *due);

/*
 * Makes ArbDocumentQueryBreak answer 1 until the end of the current run; between runs, until the end of the next one.
 * Always ARB_OK.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentForceBreak(ArbDocument *document);

/*
 * Sets the byte budget of a run: 131072 in a new document, 0 for none. A node counts, when it joins the tree, with the
 * size of its record and twice the textLength of a text-bearing kind. Holds from the next ArbDocumentQueryBreak on.
 * Always ARB_OK.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentSetChunkBreakSize(ArbDocument *document, uint32_t bytes);

/* ------------------------------------------------------------------------------------------------------------------
 * Event callbacks
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Has function(document, event, argument, context) called for every event from now on. Callbacks run in the order of
 * their slots: the first free slot is taken, else a new last one. A function may be registered more than once and is
 * then called once for each. It may be registered while an event is raised: in a later slot it still gets that event.
 * Keep it callable until it is unregistered or ArbDocumentDestroy, which raises events, has returned. context may be
 * null.
 * ARB_ERR_BADARG: the function is null. ARB_ERR_NOMEMORY: no slot; the earlier callbacks stay.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentRegisterCallback(ArbDocument *document, ArbEventCallback function, void *context);

/*
 * Takes back the first registration of the function, whatever its context; later ones stay. May be called while an
 * event is raised, also by the callback itself: a callback taken out of a later slot does not get that event.
 * ARB_ERR_BADARG: the function is null. ARB_ERR_NOTFOUND: it is not registered.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentUnregisterCallback(ArbDocument *document, ArbEventCallback function);

/*
 * Raises an event: calls every registered callback. Codes 1 to 8 are the library's own; hosts use others, with any
 * argument, null included. Does nothing for a null document.
 */
ARB_API void ARB_CALL ArbDocumentDoCallback(ArbDocument *document, uint32_t event, void *argument);

/* ------------------------------------------------------------------------------------------------------------------
 * Trees and nodes
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Makes a tree with its root node (ARB_ELEM_ROOT), in no forest yet: format 1150, the document's next child id. It
 * counts as one child document and one node of the current chunk. nameTemplate may be null. Raises
 * ARB_EVENT_NODE_CREATED for the root.
 * ARB_OK: the caller owns *tree until ArbForestAppendChild hands it over (as an ArbForestChild), else gives it back
 * with ArbTreeDestroy.
 * ARB_ERR_NOMEMORY: *tree is untouched when the tree itself found no memory, null when the root's cell found none.
 * ARB_ERR_NOTFOUND: no memory for the root's record; *tree is null.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentCreateTree(ArbDocument *document, const char16_t *nameTemplate, ArbTree **tree);

/*
 * Makes a node of a kind, through the factory of the element id's namespace. cell is null, or a reference of this tree
 * that has no node yet: the reference then leads to the new node, which takes over the reserved number or the name.
 * It counts as one node of the current chunk.
 * ARB_OK: *node is in no child list, its attributes and child list open. The producer links it into the tree or frees
 * it with ArbNodeDestroy; a node never linked does not go with its tree.
 * ARB_ERR_LOCKED: the producer has declared the tree done (ArbForestChildProducerDone).
 * ARB_ERR_NOTFOUND: the namespace has no factory, or the factory made no node: an element id that it does not know, an
 * external reference before the document's first run has ended, or no memory for the record of a built-in kind.
 * ARB_ERR_NOMEMORY: no memory for the cell or for a table of the tree; no node is left, and the call may be repeated.
 * *node is written only on success. Raises ARB_EVENT_NODE_CREATED with *node on success and on each of these failures:
 * set *node to null before the call, and a failure is announced with null.
 */
ARB_API ArbStatus ARB_CALL ArbTreeCreateNode(ArbTree *tree, uint32_t elementId, ArbNodeRef *cell, ArbNode **node);

/*
 * Takes the tree out of its forest (whose childCount stays) and destroys it: the root with its subtree, all cells and
 * so all references, the hooks, the metadata. Raises ARB_EVENT_NODE_FREED with the root. Always ARB_OK. Nodes not
 * connected to the root are not freed: ArbNodeDestroy them first. Strings stay with the document; one that was bound to
 * a node of this tree is free to be bound again.
 */
ARB_API ArbStatus ARB_CALL ArbTreeDestroy(ArbTree *tree);

/*
 * Finds the function that destroys nodes of a namespace's kinds. destroyer may be null.
 * ARB_OK: *destroyer is the function; for ARB_NAMESPACE_BUILTIN always. ARB_ERR_NOTFOUND: the namespace has no factory
 * here; *destroyer is null.
 */
ARB_API ArbStatus ARB_CALL ArbTreeGetNodeDestroyer(ArbTree *tree, uint16_t elementNamespace,
                                                   ArbNodeDestroyer *destroyer);

/*
 * The tree's root node. It is made with the tree, so neither call normally has anything to wait for. node may be null.
 * ARB_ERR_MODE: *node is untouched. The consumer's release of the root plays no part.
 * Query, not there yet: ARB_ERR_NOTREADY, *node untouched.
 * Wait, not there yet: runs the producer. *node is the root, or null when production ended without one (ARB_OK) or on
 * a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbTreeQueryRootNode(ArbTree *tree, ArbNode **node);
ARB_API ArbStatus ARB_CALL ArbTreeWaitRootNode(ArbTree *tree, ArbNode **node);

/*
 * Frees a node that is not connected to the root, with its subtree. Raises ARB_EVENT_NODE_FREED once, with the node. A
 * node in a child list leaves it, and its parent is freed too when that was all that kept it.
 * ARB_ERR_ATTACHED: the node has ARB_NODE_IN_TREE, as the descendants of a removed node also still have.
 * ARB_ERR_NOTFOUND: as ARB_OK, but the namespace of the node's kind has no factory here, so its record stays allocated.
 */
ARB_API ArbStatus ARB_CALL ArbNodeDestroy(ArbNode *node);

/* ------------------------------------------------------------------------------------------------------------------
 * Structure editing
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Appends a node, with its subtree, as the last child. If the parent is connected to the root the node and its
 * descendants join the tree: each is counted against the chunk's bytes. Raises ARB_EVENT_NODE_LINKED with the child,
 * then ARB_EVENT_NODE_IN_TREE with each node that joins, in document order.
 * ARB_ERR_ATTACHED: the child is in a child list already, or is a root. ARB_ERR_CLOSED: the parent's list is closed.
 * ARB_ERR_FOREIGN: the two belong to different trees.
 * It is not checked that the child is no ancestor of the parent.
 */
ARB_API ArbStatus ARB_CALL ArbNodeAppendChild(ArbNode *parent, ArbNode *child);

/*
 * Producer-only documents: links a node, with its subtree, directly before a node that is in a child list. Joins,
 * counts and raises events as ArbNodeAppendChild, when the reference node is connected to the root. Whether the list
 * itself is closed plays no part.
 * ARB_ERR_MODE: the document has a consumer. ARB_ERR_ATTACHED: the node is in a child list already, or is a root.
 * ARB_ERR_CLOSED: the reference node's own child list is closed. ARB_ERR_FOREIGN: the two belong to different trees.
 * ARB_ERR_DETACHED: the reference node is in no child list.
 */
ARB_API ArbStatus ARB_CALL ArbNodeInsertSiblingBefore(ArbNode *reference, ArbNode *node);

/*
 * Producer-only documents: takes a node, with its subtree, out of its parent's child list. No event is raised, and the
 * chunk's bytes stay counted. The node may be linked again or freed with ArbNodeDestroy; it no longer goes with its
 * tree. Its descendants keep ARB_NODE_IN_TREE and are neither announced nor counted when it is linked again. The node
 * must not be the root.
 * ARB_ERR_MODE: the document has a consumer. ARB_ERR_DETACHED: the node is in no child list.
 */
ARB_API ArbStatus ARB_CALL ArbNodeRemoveFromTree(ArbNode *node);

/*
 * Moves all children of one node, in order, to the end of another's child list. No event is raised and nothing is
 * counted: the children stay in or out of the tree as they were. The two must belong to one tree, and `to` must not be
 * a descendant of `from`. Children of `from` that were freed move in childCount but not in freedChildCount, so that
 * releases no longer free `to`.
 * ARB_ERR_LOCKED: the attributes of `from` are done. ARB_ERR_CLOSED: the list of `from` is closed, or that of `to`, or
 * `from` is connected to the root of a document with a consumer. ARB_ERR_BADARG: both are the same node.
 */
ARB_API ArbStatus ARB_CALL ArbNodeTransferChildren(ArbNode *from, ArbNode *to);

/* ------------------------------------------------------------------------------------------------------------------
 * Completion and release
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * A node is freed as soon as all of these hold:
 *   - the producer has released it, and so has the consumer, unless the document is producer-only;
 *   - all its children have been freed;
 *   - it is not the root, which goes with its tree;
 *   - it is not the last child of a child list that is still open.
 * They are looked at when either side releases the node and when one of its children is freed, at no other time:
 * closing the parent's list does not free its last child. A consumer therefore asks for the next sibling before it
 * releases a node. Any release may so free the node, then its parent, and so on upwards; each raises
 * ARB_EVENT_NODE_FREED and calls the destroyers of the nodes' namespaces. A side that has released a node uses it no
 * more; until then (in a producer-only document: the producer) the node stays, unless its tree is destroyed.
 */

/*
 * The node's attributes are final: setting its identifier or a mark, or transferring its children away, is refused from
 * now on. Calls the hooks of ARB_HOOK_ATTRIBUTES_DONE, to which the attributes are still open, then raises
 * ARB_EVENT_ATTRIBUTES_DONE. Already done: nothing is called. Always ARB_OK; a hook cannot make it fail.
 */
ARB_API ArbStatus ARB_CALL ArbNodeAttributesDone(ArbNode *node);

/*
 * Closes the child list: all children have been linked. Raises ARB_EVENT_CHILDREN_DONE, on every call. Always ARB_OK.
 */
ARB_API ArbStatus ARB_CALL ArbNodeAllChildrenAttached(ArbNode *node);

/*
 * ArbNodeAttributesDone and ArbNodeAllChildrenAttached in one call, with their hooks and events. Always ARB_OK.
 */
ARB_API ArbStatus ARB_CALL ArbNodeProducerDone(ArbNode *node);

/*
 * ArbNodeProducerDone for every node of the subtree that is not complete yet, children before their parent. Always
 * ARB_OK.
 */
ARB_API ArbStatus ARB_CALL ArbNodeProducerDoneSubtree(ArbNode *node);

/*
 * Completes a linked node, as far as that is missing, and releases it for the producer. Raises
 * ARB_EVENT_PRODUCER_RELEASE and calls the hooks of ARB_HOOK_PRODUCER_RELEASE, both before anything changes; then the
 * hooks and events of what was not done yet. The node may be gone when the call returns.
 * ARB_ERR_RELEASED: the producer had released it; nothing is raised or called.
 * ARB_ERR_DETACHED: the node is in no child list. The release event has been raised and its hooks called, but the node
 * is not released: link it and release it again, or free it with ArbNodeDestroy.
 */
ARB_API ArbStatus ARB_CALL ArbNodeProducerRelease(ArbNode *node);

/*
 * ArbNodeProducerRelease for every node of the subtree that the producer has not released yet, children before their
 * parent. Always ARB_OK: the outcome of single nodes is not reported.
 */
ARB_API ArbStatus ARB_CALL ArbNodeProducerReleaseSubtree(ArbNode *node);

/*
 * Releases a node for the consumer. Raises ARB_EVENT_CONSUMER_RELEASE before anything changes. The node may be gone
 * when the call returns. ARB_ERR_MODE. ARB_ERR_RELEASED: the consumer had released it.
 */
ARB_API ArbStatus ARB_CALL ArbNodeConsumerRelease(ArbNode *node);

/*
 * Releases a whole subtree for the consumer, running the producer until the subtree is complete; each node is released
 * once its next sibling is known, so that memory stays bounded. Raises the events of ArbNodeConsumerRelease. A node's
 * children come before it.
 * ARB_ERR_MODE.
 * Otherwise the status of the last step along the node's own children: ARB_OK; ARB_ERR_RELEASED when the node (nothing
 * is done then) or a child had been released; or a run's failure. A failed step ends the walk along that child list,
 * and later siblings stay unreleased; the nodes above it are still released. Failures deeper down are not reported.
 */
ARB_API ArbStatus ARB_CALL ArbNodeConsumerReleaseSubtree(ArbNode *node);

/*
 * Waits until the node's attributes are done and its child list is closed, running the producer. ARB_ERR_MODE; ARB_OK,
 * also when production ended first: node->flags tells; or a run's failure. The consumer's release plays no part;
 * a released node that a run frees ends the wait with ARB_OK, and must not be looked at then.
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitProducerDone(ArbNode *node);

/* ------------------------------------------------------------------------------------------------------------------
 * Metadata of nodes
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Keeps a copy of `size` bytes under a key of the host's choosing, in place of the key's earlier value. Either side may
 * set it as long as the node lives, and it goes with the node. Size 0 keeps an empty value, which is not the same as
 * none; value may be null then. A key cannot be taken out again.
 * Always ARB_OK. Without memory, or when value is null and size is not 0, the value is not stored: the key keeps its
 * earlier value, and a new key is not entered. ArbNodeGetMetadata tells.
 */
ARB_API ArbStatus ARB_CALL ArbNodeSetMetadata(ArbNode *node, uint32_t key, const void *value, uint32_t size);

/*
 * Copies a key's value to the caller's buffer. Both pointers may be null. *size is the buffer's capacity in bytes and
 * becomes the value's size; without it the value is copied whatever its size, without a buffer only the size is told.
 * ARB_OK: the value was copied if it fits. *size larger than the capacity given: nothing was copied.
 * ARB_ERR_NOTFOUND: the node has no such key; both are untouched.
 */
ARB_API ArbStatus ARB_CALL ArbNodeGetMetadata(ArbNode *node, uint32_t key, void *buffer, uint32_t *size);

/* ------------------------------------------------------------------------------------------------------------------
 * Navigation
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Common to the Query and Wait calls of this section: ARB_ERR_MODE in a producer-only document; then ARB_ERR_RELEASED
 * when the consumer has released the node, except where a block says that release plays no part. Results are untouched
 * by both, unless they are cleared. Query calls answer from what is linked; Wait calls run the producer until they can
 * answer, or answer a run's failure. A child list is final once it is closed; children that were freed are passed over.
 *
 * The Get calls are the producer's: they look only at what is linked now, in any document, and answer ARB_ERR_RELEASED
 * when the producer has released the node.
 */

/*
 * The number of children; freed ones count, removed ones do not. count may be null; it is cleared.
 * Query: ARB_OK and the final number, or, the list still open, ARB_ERR_NOTREADY and the number so far.
 * Wait: ARB_OK and the final number; ARB_OK and 0 when production ended with the list open, even if it has children; a
 * run's failure and 0.
 */
ARB_API ArbStatus ARB_CALL ArbNodeQueryChildCount(ArbNode *node, uint32_t *count);
ARB_API ArbStatus ARB_CALL ArbNodeWaitChildCount(ArbNode *node, uint32_t *count);

/*
 * The first child. ARB_OK with null: the list is closed and has none.
 * Query, not there yet: ARB_ERR_NOTREADY, *result untouched.
 * Wait, not there yet: runs the producer; ARB_OK with null when production ended without a child; a run's failure, with
 * *result untouched.
 */
ARB_API ArbStatus ARB_CALL ArbNodeQueryFirstChild(ArbNode *node, ArbNode **result);
ARB_API ArbStatus ARB_CALL ArbNodeWaitFirstChild(ArbNode *node, ArbNode **result);

/*
 * The last child, known only once the list is closed. ARB_OK with null: it has none.
 * Query, list open: ARB_ERR_NOTREADY even if there are children, *result untouched.
 * Wait, list open: runs the producer; when production ended first, ARB_OK with the last child so far, or null; a run's
 * failure, with *result untouched.
 */
ARB_API ArbStatus ARB_CALL ArbNodeQueryLastChild(ArbNode *node, ArbNode **result);
ARB_API ArbStatus ARB_CALL ArbNodeWaitLastChild(ArbNode *node, ArbNode **result);

/*
 * The next sibling. ARB_OK with null: the node is the last of a closed list. For a node in no child list, the root
 * included, ARB_OK and *result untouched: set it to null before the call.
 * Query, not there yet: ARB_ERR_NOTREADY, *result untouched.
 * Wait, not there yet: runs the producer; ARB_OK with null when production ended without one; a run's failure, with
 * *result untouched.
 */
ARB_API ArbStatus ARB_CALL ArbNodeQueryNextSibling(ArbNode *node, ArbNode **result);
ARB_API ArbStatus ARB_CALL ArbNodeWaitNextSibling(ArbNode *node, ArbNode **result);

/*
 * The previous sibling, or null if there is none; ARB_OK. It never has to wait. The node's release plays no part.
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitPrevSibling(ArbNode *node, ArbNode **result);

/*
 * The parent, or null for a node in no child list; ARB_OK. It never has to wait.
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitParent(ArbNode *node, ArbNode **result);

/*
 * Waits until the child list is closed. ARB_OK, also when production ended with the list open: node->flags tells; or a
 * run's failure. The node's release plays no part (see ArbNodeWaitProducerDone).
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitAllChildrenAttached(ArbNode *node);

/*
 * Waits until the attributes are done. ARB_OK, also when production ended first: node->flags tells; or a run's failure.
 * The node's release plays no part (see ArbNodeWaitProducerDone).
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitAttributesDone(ArbNode *node);

/*
 * Searches by element id, compared as a whole: the first child, the nearest following sibling, or the nearest ancestor
 * of `node` with that id; `node` itself is not looked at. ARB_OK whether or not there is one. result may be null and is
 * written only for a match: set it to null before the call.
 */
ARB_API ArbStatus ARB_CALL ArbNodeGetFirstChildByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);
ARB_API ArbStatus ARB_CALL ArbNodeGetNextSiblingByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);
ARB_API ArbStatus ARB_CALL ArbNodeGetAncestorByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);

/*
 * The first child with an element id, compared as a whole. ARB_OK whether or not there is one. result may be null and
 * is written only for a match: set it to null before the call.
 * ARB_ERR_RELEASED also when the search has to pass over a child that the consumer has released; the match may be one.
 * Query, no match among the children so far and the list open: ARB_ERR_NOTREADY.
 * Wait, the same: runs the producer; ARB_OK without a match when production ended; or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbNodeQueryFirstChildByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);
ARB_API ArbStatus ARB_CALL ArbNodeWaitFirstChildByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);

/*
 * As ArbNodeWaitFirstChildByElementId, for the nearest following sibling. A node in no child list has none.
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitNextSiblingByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);

/*
 * The nearest ancestor with an element id, compared as a whole; ARB_OK with null when there is none. result may be
 * null; it is cleared. ARB_ERR_RELEASED also when the search has to pass over an ancestor that the consumer has
 * released. It never has to wait.
 */
ARB_API ArbStatus ARB_CALL ArbNodeWaitAncestorByElementId(ArbNode *node, uint32_t elementId, ArbNode **result);

/* ------------------------------------------------------------------------------------------------------------------
 * References and identifiers
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * A reference is a cell: a node's own, or one made ahead of its node, on which ArbTreeCreateNode then makes the node.
 * Once the node is freed its cell may go to another node, and references to it with it, unless the node was marked by
 * ArbNodeCreateID, ArbNodeSetIDString or ArbNodeSetSeparateStream: then the cell goes on telling which node it was.
 */

/*
 * Makes a reference to a node to come and reserves the next node number for it.
 * ARB_OK: *reference is the tree's; if no node is ever made on it, it stays without one as long as the tree.
 * ARB_ERR_LOCKED: the producer has declared the tree done. ARB_ERR_NOMEMORY: no number is used up. *reference is
 * untouched by both.
 */
ARB_API ArbStatus ARB_CALL ArbTreeCreateFloatingNodeReference(ArbTree *tree, ArbNodeRef **reference);

/*
 * Gives the reference bound to a name, a string of the tree's document. A name is bound once a node has it as its ID
 * string, given or generated: the answer is then that node's own cell, whichever tree it is in. Otherwise a new
 * reference is made that carries the name to the node to come; a second call before the name is bound makes another.
 * The binding lasts as long as the cell stays the node's, so beyond the life of a marked node: the answer is then a
 * reference that will not lead to a node again. It ends when an unmarked node is freed, and when the tree is destroyed.
 * ARB_OK: *reference, as for ArbTreeCreateFloatingNodeReference.
 * ARB_ERR_BADARG: the name is null. ARB_ERR_LOCKED: the producer has declared the tree done; *reference is untouched.
 * ARB_ERR_NOMEMORY: *reference is null.
 */
ARB_API ArbStatus ARB_CALL ArbTreeCreateNamedNodeReference(ArbTree *tree, ArbString *name, ArbNodeRef **reference);

/*
 * The node that a reference leads to; `document` is the one that the reference belongs to. A null reference is answered
 * with ARB_OK and null. The node pointer may be null; it is cleared.
 * Query, no node yet or any more: ARB_ERR_NOTREADY and null. It works in every document.
 * Wait: ARB_ERR_MODE. No node yet: runs the producer; ARB_OK with null when production ended without the node. So too
 * when the node has been freed, which also takes production to its end. A run's failure comes with null, or with the
 * node if the failing run still made it.
 */
ARB_API ArbStatus ARB_CALL ArbNodeRefQueryNode(ArbNodeRef *reference, ArbNode **node);
ARB_API ArbStatus ARB_CALL ArbNodeRefWaitNode(ArbNodeRef *reference, ArbDocument *document, ArbNode **result);

/*
 * The ID string of the node that a reference leads to; of a named reference without a node, the name. A node without
 * one is given the string "ID" and its number in lowercase hexadecimal, which it keeps and which is then bound to its
 * cell. The string is the document's. A null reference is answered with ARB_OK and null. idString may be null; it is
 * cleared. ARB_OK with null also when a string could not be made for want of memory; ask again.
 * Query: ARB_ERR_NOTREADY for a floating reference without a node, a freed node, and a node whose attributes are not
 * done, since its ID string can still be set. It works in every document.
 * Wait: ARB_ERR_MODE. Runs the producer until the node is there and its attributes are done. ARB_OK with null when
 * production ended without the node, as for a freed one; a run's failure on the way to the node. A failure on the way
 * to the attributes is not reported: the node's string is then answered as it is.
 */
ARB_API ArbStatus ARB_CALL ArbNodeRefQueryIdString(ArbNodeRef *reference, ArbString **idString);
ARB_API ArbStatus ARB_CALL ArbNodeRefWaitIdString(ArbNodeRef *reference, ArbDocument *document, ArbString **idString);

/*
 * Marks the node as referred to (ARB_NODE_HAS_ID), so that its cell outlives it. ARB_OK, also for a node marked before.
 * ARB_ERR_LOCKED: the node's attributes are done and it has no mark.
 */
ARB_API ArbStatus ARB_CALL ArbNodeCreateID(ArbNode *node);

/*
 * Gives the node a string of its document as its ID string, in place of any earlier one, marks it as ArbNodeCreateID
 * does, and binds the string to the node's cell, in place of any earlier binding of that string.
 * ARB_ERR_BADARG: the string is null. ARB_ERR_LOCKED: the node's attributes are done. ARB_ERR_BADARG: the node has no
 * cell, as only a node not made by ArbTreeCreateNode. ARB_ERR_NOMEMORY: the tree could not note the binding.
 */
ARB_API ArbStatus ARB_CALL ArbNodeSetIDString(ArbNode *node, ArbString *idString);

/* ------------------------------------------------------------------------------------------------------------------
 * Producer node hooks
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Hooks are called in the order of their registration, for nodes of exactly one element id. The library raises
 * ARB_HOOK_ATTRIBUTES_DONE and ARB_HOOK_PRODUCER_RELEASE; values other than the four named call nothing.
 */

/*
 * Has function(argument, context) called when the event happens to a node of the element id. A hook registered twice is
 * called twice. context may be null.
 * ARB_ERR_BADARG: the function is null. ARB_ERR_LOCKED: the producer has declared the tree done. ARB_ERR_NOMEMORY: the
 * earlier hooks stay.
 */
ARB_API ArbStatus ARB_CALL ArbTreeSetProducerNodeHook(ArbTree *tree, uint32_t event, uint32_t elementId,
                                                      ArbProducerNodeHookFunction function, void *context);

/*
 * Calls the hooks of an event and element id. ARB_OK, also when there are none.
 * ARB_HOOK_QUERY: each gets the element id, and *result becomes what the last one answers; it is untouched when there
 * is no hook, so preset it. ARB_ERR_BADARG: there is a hook but result is null; none is called.
 * Other events: each gets the node; result may be null and is untouched.
 * node may be null: ARB_HOOK_QUERY has no use for it, other hooks get it as it is.
 */
ARB_API ArbStatus ARB_CALL ArbTreeCallProducerNodeHook(ArbTree *tree, uint32_t event, uint32_t elementId, ArbNode *node,
                                                       uint32_t *result);

/*
 * Copies the tree's hooks, which stay in force, into a snapshot.
 * ARB_OK: the caller owns *snapshot. It holds memory until ArbTreeRestoreProducerNodeHooks takes it, the only call that
 * frees it: restore it before the tree is destroyed. ARB_ERR_NOMEMORY: *snapshot is null.
 */
ARB_API ArbStatus ARB_CALL ArbTreeSaveProducerNodeHooks(ArbTree *tree, ArbSavedHooks **snapshot);

/*
 * Puts the hooks of a snapshot in place of the tree's own, also after the producer is done with the tree. Takes the
 * snapshot, which is invalid afterwards. ARB_OK, or ARB_ERR_BADARG: the snapshot is null; the tree's hooks stay.
 */
ARB_API ArbStatus ARB_CALL ArbTreeRestoreProducerNodeHooks(ArbTree *tree, ArbSavedHooks *snapshot);

/*
 * Takes all hooks off the tree, as ArbForestChildProducerRelease also does. Snapshots stay. Always ARB_OK.
 */
ARB_API ArbStatus ARB_CALL ArbTreeClearProducerNodeHooks(ArbTree *tree);

/* ------------------------------------------------------------------------------------------------------------------
 * Cursors and document-order traversal
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * The consumer's stack of saved positions, one for each tree, 128 deep. It holds cells: keep a pushed node unreleased
 * until it has been popped, or have it marked (ArbNodeCreateID), else its cell may lead to another node by then.
 */

/*
 * Saves a position; node may be null.
 * ARB_ERR_MODE in a producer-only document. ARB_ERR_CURSORSTACK: the stack is full and nothing is saved. Both are
 * counted as pushes, so that a pop belongs to every push.
 */
ARB_API ArbStatus ARB_CALL ArbTreePushCursor(ArbTree *tree, ArbNode *node);

/*
 * Takes back the position saved last. node may be null.
 * ARB_ERR_MODE in a producer-only document, with nothing popped. ARB_ERR_CURSORSTACK: the stack is empty. *node is
 * untouched by both.
 * ARB_OK: *node is the node, or null if null was pushed. For a push that found the stack full *node is untouched.
 * A node that has been freed meanwhile is answered as by ArbNodeRefWaitNode: runs the producer to its end, then ARB_OK
 * with null, or a run's failure. The position is popped by that too: a second call takes back the one before it.
 */
ARB_API ArbStatus ARB_CALL ArbTreePopCursor(ArbTree *tree, ArbNode **node);

/*
 * Walks a subtree in document order and reports it to the callbacks, each of which may be null; userData is passed
 * through. Runs the producer as far as each step needs, so one call can take a whole document through; releases
 * nothing. Uses no stack that grows with the depth of the tree.
 *
 * A text-bearing node gets its text callback only. Any other node, in this order: startElement; once the attributes are
 * done, startAttributes, attribute for each one present, endAttributes; enterChildren; its children; endElement.
 *
 * Returns 0 when a callback stopped the walk, or node or callbacks is null; otherwise a callback's non-zero result, or
 * 1. Statuses are not reported: a wait that fails leaves out a node's attribute callbacks, or the rest of a child list.
 * In a producer-only document every wait fails, and only the start node itself is reported.
 */
ARB_API uint32_t ARB_CALL ArbDocumentOrderTraverser(ArbNode *node, const ArbTraverserCallbacks *callbacks,
                                                    void *userData);

/* ------------------------------------------------------------------------------------------------------------------
 * Node factories
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Registers a namespace, whose factory and destroyer the element-definition library gives: needed before nodes of its
 * kinds can be created in this tree. The low 16 bits name the namespace; that library gets the whole value. Registering
 * it again replaces its two functions.
 * ARB_ERR_LOCKED: the producer has declared the tree done. ARB_ERR_NAMESPACE: the low 16 bits are
 * ARB_NAMESPACE_BUILTIN, which needs no registration.
 * Otherwise a status of the element-definition library: of its look-up (nothing is registered then), else of the count
 * of the namespace's elements that it is asked for after the registration; usually ARB_OK. A tree holds 32 namespaces:
 * one more is not registered, without a status of its own. ArbTreeGetNodeFactory tells.
 */
ARB_API ArbStatus ARB_CALL ArbTreeAddNodeFactory(ArbTree *tree, uint32_t elementNamespace);

/*
 * Finds the function that makes nodes of a namespace's kinds. factory may be null.
 * ARB_OK: *factory is the function; for ARB_NAMESPACE_BUILTIN always. ARB_ERR_NOTFOUND: the namespace is not registered
 * here; *factory is null.
 */
ARB_API ArbStatus ARB_CALL ArbTreeGetNodeFactory(ArbTree *tree, uint16_t elementNamespace, ArbNodeFactory *factory);

/*
 * Registers a namespace as ArbTreeAddNodeFactory does and makes it the tree's default, which the library only keeps.
 * ARB_ERR_LOCKED: the producer has declared the tree done, or a default other than the initial 1 has been chosen. Any
 * other failure is that of the registration, and the default can still be chosen.
 */
ARB_API ArbStatus ARB_CALL ArbTreeSetDefaultNamespace(ArbTree *tree, uint32_t elementNamespace);

/* ------------------------------------------------------------------------------------------------------------------
 * Values of text-bearing nodes
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * The value of a text or encoded-bytes node. text and length may be null.
 * ARB_OK: *text and *length are the value, null and 0 when there is none. The text stays the node's and is valid until
 * its value is set again or the node is freed. An ARB_ENCODING_RAW8 value is *length bytes and a zero byte instead.
 * ARB_ERR_BADARG: a node of another kind; both are untouched.
 */
ARB_API ArbStatus ARB_CALL ArbAbstractTextNodeGetValue(ArbNode *node, const char16_t **text, uint32_t *length);

/*
 * Gives a text or encoded-bytes node a copy of `length` units as its value; length 0 leaves it without one, and text
 * may be null then. The text may be the node's own. An encoded-bytes node keeps its info, encoding and flags. It works
 * on completed nodes too. A value set after the node joined the tree is not counted against the chunk.
 * ARB_ERR_BADARG: a node of another kind, or text is null and length is not 0; the value is unchanged.
 * ARB_ERR_NOMEMORY: the node has no value any more.
 */
ARB_API ArbStatus ARB_CALL ArbAbstractTextNodeSetValue(ArbNode *node, const char16_t *text, uint32_t length);

/*
 * The info and encoding of an encoded-bytes node; its text is read with ArbAbstractTextNodeGetValue. info and encoding
 * may be null; the two arguments before them are ignored. Always ARB_OK; for a node of another kind both are untouched.
 */
ARB_API ArbStatus ARB_CALL ArbEncodedBytesNodeGetValue(ArbNode *node, void *unused1, void *unused2, uint32_t *info,
                                                       uint32_t *encoding);

/*
 * Stores bytes as the text of an encoded-bytes node, in place of its value; byteCount 0 leaves it without one, and
 * bytes may be null then. The bytes may lie in the node's own value.
 *   ARB_ENCODING_UTF16   the bytes as they are, byteCount / 2 units; an odd last byte is no part of the value
 *   ARB_ENCODING_BASE64  base64 of RFC 4648, padded, with a line feed after every 64 units, also at the very end
 *   ARB_ENCODING_RAW8    the bytes as they are; textLength counts bytes
 * info is the caller's own and only kept. The Ex form takes the flags, ARB_BYTES_..., of which ARB_BYTES_KEEP_ORDER is
 * added unless ARB_BYTES_SWAP_ORDER is given, and ARB_BYTES_UNITS8 unless another unit is; the other form stands for
 * ARB_BYTES_KEEP_ORDER and ARB_BYTES_UNITS8. With ARB_BYTES_SWAP_ORDER, ARB_BYTES_UNITS16 and base64 the bytes are
 * swapped in pairs before they are encoded; an odd last byte stays as it is.
 * ARB_OK; also for a node of another kind, which is unchanged.
 * ARB_ERR_BADARG: bytes is null and byteCount is not 0; the node is unchanged.
 * ARB_ERR_NOMEMORY (also for base64 text of more than 2^32 - 1 units), ARB_ERR_BADENCODING: the node has no value;
 * info, encoding and the completed flags are kept as given.
 */
ARB_API ArbStatus ARB_CALL ArbEncodedBytesNodeSetValue(ArbNode *node, const void *bytes, uint32_t byteCount,
                                                       uint32_t info, uint32_t encoding);
ARB_API ArbStatus ARB_CALL ArbEncodedBytesNodeSetValueEx(ArbNode *node, const void *bytes, uint32_t byteCount,
                                                         uint32_t info, uint32_t encoding, uint32_t flags);

/*
 * Decodes base64 of RFC 4648, textLength units of it, into at most `capacity` bytes. Units outside the alphabet,
 * padding included, are skipped wherever they are; a single unit left at the end gives nothing.
 * Returns the number of bytes, or 0xFFFFFFFF when it reaches the capacity: allow one byte more than the data. The bytes
 * before the stop are stored, none at or beyond the capacity. Returns 0 for textLength 0; text may be null then. bytes
 * may be null for a capacity of 0. Any other null is answered with 0.
 */
ARB_API uint32_t ARB_CALL DecodeBase64(const char16_t *text, uint32_t textLength, void *bytes, uint32_t capacity);

/* ------------------------------------------------------------------------------------------------------------------
 * External references and node marks
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Makes a node that names an entity held by another child document, in no child list yet. The name is copied; the
 * target is only kept, never followed, and may end before the node. Both are read back from the node's record. Raises
 * ARB_EVENT_NODE_CREATED as ArbTreeCreateNode does.
 * ARB_ERR_BADARG: the name is null or longer than 63 units; no node is made, no event raised, *node is untouched.
 * Otherwise a status of ArbTreeCreateNode: ARB_OK; ARB_ERR_LOCKED; ARB_ERR_NOTFOUND, also before the document's first
 * run has ended; ARB_ERR_NOMEMORY.
 */
ARB_API ArbStatus ARB_CALL ArbTreeCreateExternalReferenceNode(ArbTree *tree, ArbForestChild *target,
                                                              const char16_t *entityName, ArbNode **node);

/*
 * The entity name of an external reference; it is part of the node and valid as long as that. name may be null.
 * ARB_ERR_BADARG: a node of another kind; *name is untouched.
 */
ARB_API ArbStatus ARB_CALL ArbExternalReferenceNodeGetEntityName(ArbNode *node, const char16_t **name);

/*
 * Marks the node (ARB_NODE_SEPARATE_STREAM) for a consumer that writes it to a stream of its own. The library enters
 * its cell in a list of the tree, once for each call, and keeps the cell when the node is freed.
 * ARB_ERR_LOCKED: the node's attributes are done. ARB_ERR_NOMEMORY: the node is not marked by this call.
 */
ARB_API ArbStatus ARB_CALL ArbNodeSetSeparateStream(ArbNode *node);

/*
 * Marks the node (ARB_NODE_SKIP_IF_EMPTY) for the consumer; the library only keeps the mark.
 * ARB_ERR_LOCKED: the node's attributes are done.
 */
ARB_API ArbStatus ARB_CALL ArbNodeSetSkipIfEmpty(ArbNode *node);

/* ------------------------------------------------------------------------------------------------------------------
 * Equality, hashing and cloning
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * These calls look at what is linked now and never run the producer, and they use no stack that grows with the depth of
 * the tree. What a kind holds is compared, hashed and copied by its descriptor's operations if it has
 * ARB_TYPE_ATTR_FUNCTIONS, which they may call, else byte by byte. Numbers, ID strings, flags and marks play no part.
 */

/*
 * Returns 1 when what two nodes hold is equal, children left aside, else 0; 0 when a node is null. Both must be of one
 * kind, which is not checked: that of a decides how they are compared, over the length of its attribute area.
 */
ARB_API uint32_t ARB_CALL ArbNodeAttributesAreEqual(ArbNode *a, ArbNode *b);

/*
 * Returns 1 when two subtrees are equal, else 0: same element id, childCount and attributes, and equal children, pair
 * by pair. Freed children are in childCount but have no pair: the comparison ends with the shorter list. Metadata plays
 * no part. Either node may be null; two nulls are equal.
 */
ARB_API uint32_t ARB_CALL ArbNodeIsEqual(ArbNode *a, ArbNode *b);

/*
 * Returns a hash of the subtree, 0 for a null node: the exclusive-or of element id, childCount and attributes' hash of
 * every node. Equal subtrees of which no node has been freed hash alike. The order of children does not count, and two
 * equal children cancel out.
 */
ARB_API uint32_t ARB_CALL ArbNodeHashCode(ArbNode *node);

/*
 * Copies a node without its children, in `tree`, which may be null for the node's own, and may belong to another
 * document. The copy has the value or attributes and the metadata of the source, but its own number, and none of its
 * identifiers, flags and marks. Attributes whose id has the top byte 0x37 are not copied; a copy of encoded bytes has
 * encodingFlags 0; a copied external reference has the target and the name of the source.
 * ARB_OK: *copy is a new node in no child list, announced as by ArbTreeCreateNode, before it has its value. The copy of
 * a root counts as linked and in the tree: it can be appended nowhere and is freed by its releases alone. A value,
 * attribute or metadata entry that found no memory is missing from the copy, which is not reported. Set *copy to null
 * before the call, since a failure is announced with what it holds.
 * Otherwise a failure of ArbTreeCreateNode; *copy is untouched.
 */
ARB_API ArbStatus ARB_CALL ArbNodeClone(ArbNode *node, ArbTree *tree, ArbNode **copy);

/*
 * Copies a node as ArbNodeClone does, and likewise all its descendants, linked as in the source, with the events of
 * ArbTreeCreateNode and ArbNodeAppendChild. The copies' attributes and child lists are left open.
 * ARB_OK: *copy is the top copy, in no child list (but see ArbNodeClone for a root).
 * A failure of ArbTreeCreateNode or ArbNodeAppendChild ends the copying: *copy is untouched if the top copy could not
 * be made; else it is the top copy with the copies made so far below it, the unfinished ones as they are, to be freed
 * with ArbNodeDestroy.
 */
ARB_API ArbStatus ARB_CALL ArbNodeCloneSubtree(ArbNode *node, ArbTree *tree, ArbNode **copy);

/* ------------------------------------------------------------------------------------------------------------------
 * Strings
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Gives the document's one string of a text, which is copied and made on first request.
 * ARB_OK: *string is the document's, never changes its text, and is valid until the document is destroyed.
 * ARB_ERR_BADARG: the text is null. ARB_ERR_NOMEMORY: *string is null; earlier strings are as they were.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentCreateString(ArbDocument *document, const char16_t *text, ArbString **string);

/*
 * Returns -1, 0 or 1 as the text of a is smaller than, equal to or greater than that of b: unit by unit, units as
 * unsigned numbers, a prefix before the longer text. Either may be null, which is smaller than any string; two nulls
 * are equal. The strings may belong to different documents.
 */
ARB_API int16_t ARB_CALL ArbStringCompare(const ArbString *a, const ArbString *b);

/*
 * Returns a hash of the text, 0 for null and for the empty text: the exclusive-or of its 32-bit little-endian words,
 * and of each of the last two bytes if its length is odd. Only the first (2 * length) mod 65536 bytes count.
 */
ARB_API uint32_t ARB_CALL ArbStringGetHashCode(const ArbString *string);

/* ------------------------------------------------------------------------------------------------------------------
 * Forests of child documents: the producer's side
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Appends a child document, which from now on is destroyed with the forest. The child is not checked: it must belong to
 * the same document and be in no forest.
 * ARB_ERR_RELEASED: the producer has released the forest. ARB_ERR_CLOSED: its child list is closed.
 */
ARB_API ArbStatus ARB_CALL ArbForestAppendChild(ArbForest *forest, ArbForestChild *child);

/*
 * Closes the forest's child list: all children have been appended. May be repeated.
 * ARB_ERR_RELEASED: the producer has released the forest.
 */
ARB_API ArbStatus ARB_CALL ArbForestAllChildrenAttached(ArbForest *forest);

/*
 * Sets what kind of archive the forest is, which decides what it adds to document paths. 1 also sets formatId to 1998,
 * 2 and 3 set it to 1802; other values leave it.
 * ARB_ERR_RELEASED: the producer has released the forest. ARB_ERR_LOCKED: it has declared it done. ARB_ERR_BADARG:
 * archiveType is 0, which only the root forest is made with.
 */
ARB_API ArbStatus ARB_CALL ArbForestSetArchiveType(ArbForest *forest, uint32_t archiveType);

/*
 * The producer has finished the child: a forest is closed and its archive type fixed; a tree takes no new nodes,
 * references, hooks and factories (ARB_ERR_LOCKED), though its nodes can still be linked, completed and released.
 * ARB_ERR_RELEASED: the producer has released the child. ARB_ERR_DETACHED: the child is in no forest.
 */
ARB_API ArbStatus ARB_CALL ArbForestChildProducerDone(ArbForestChild *child);

/*
 * Finishes the child and releases it for the producer. A tree loses its hooks, uncalled, and then its nodes are
 * released as by ArbNodeProducerReleaseSubtree, which raises events and frees the nodes that the consumer is done with.
 * The child's record stays until it is destroyed. A forest's children are not released with it.
 * ARB_ERR_RELEASED: the producer had released the child. ARB_ERR_DETACHED: the child is in no forest.
 */
ARB_API ArbStatus ARB_CALL ArbForestChildProducerRelease(ArbForestChild *child);

/*
 * ArbForestChildProducerRelease for every child document below the forest that the producer has not released yet,
 * children before their forest, then for the forest itself. A nested forest that the producer has released already is
 * passed over with all that is below it. A forest that was never appended stays unreleased, which is not reported.
 * ARB_ERR_RELEASED: the producer had released the forest; nothing is done.
 * Otherwise the first failure among its children, which does not stop the walk, or ARB_OK.
 */
ARB_API ArbStatus ARB_CALL ArbForestProducerReleaseSubtree(ArbForest *forest);

/* ------------------------------------------------------------------------------------------------------------------
 * Forests of child documents: the consumer's side
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Every call of this section answers ARB_ERR_MODE in a producer-only document, and those that take a forest then answer
 * ARB_ERR_RELEASED when the consumer has released it. Query and Wait are as for nodes.
 */

/*
 * The number of children appended; destroyed ones count. count may be null; it is cleared.
 * Query, list open: ARB_ERR_NOTREADY and 0.
 * Wait, list open: runs the producer; ARB_OK and 0 when production ended with the list open; a run's failure and 0.
 */
ARB_API ArbStatus ARB_CALL ArbForestQueryChildCount(ArbForest *forest, uint32_t *count);
ARB_API ArbStatus ARB_CALL ArbForestWaitChildCount(ArbForest *forest, uint32_t *count);

/*
 * The first child. child may be null; it is cleared. ARB_OK with null: the list is closed and empty.
 * Query, not there yet: ARB_ERR_NOTREADY.
 * Wait, not there yet: runs the producer; ARB_OK with null when production ended without a child; or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbForestQueryFirstChild(ArbForest *forest, ArbForestChild **child);
ARB_API ArbStatus ARB_CALL ArbForestWaitFirstChild(ArbForest *forest, ArbForestChild **child);

/*
 * The last child, known only once the list is closed. child may be null; it is cleared. ARB_OK with null: it is empty.
 * Query, list open: ARB_ERR_NOTREADY even if there are children.
 * Wait, list open: runs the producer; when production ended first, ARB_OK with the last child so far, or null; or a
 * run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbForestQueryLastChild(ArbForest *forest, ArbForestChild **child);
ARB_API ArbStatus ARB_CALL ArbForestWaitLastChild(ArbForest *forest, ArbForestChild **child);

/*
 * Waits until the child list is closed. ARB_OK, also when production ended with the list open: forest->child.flags
 * tells; or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbForestWaitAllChildrenAttached(ArbForest *forest);

/*
 * The next sibling; *sibling is cleared. ARB_ERR_BADARG for a null sibling comes after ARB_ERR_MODE. The consumer's
 * release of the child plays no part. ARB_OK with null: the child is the last of a closed forest, or in no forest.
 * Query, not there yet: ARB_ERR_NOTREADY.
 * Wait, not there yet: runs the producer; ARB_OK with null when production ended without one; or a run's failure.
 */
ARB_API ArbStatus ARB_CALL ArbForestChildQueryNextSibling(ArbForestChild *child, ArbForestChild **sibling);
ARB_API ArbStatus ARB_CALL ArbForestChildWaitNextSibling(ArbForestChild *child, ArbForestChild **sibling);

/*
 * The previous sibling, or null if there is none; ARB_OK. It never has to wait. *sibling is untouched by ARB_ERR_MODE,
 * which comes before ARB_ERR_BADARG for a null sibling. The consumer's release of the child plays no part.
 */
ARB_API ArbStatus ARB_CALL ArbForestChildWaitPrevSibling(ArbForestChild *child, ArbForestChild **sibling);

/*
 * Releases a child document for the consumer. A tree whose root the consumer has not released is first released as by
 * ArbNodeConsumerReleaseSubtree, which runs the producer and raises events; how far that came is not reported. The
 * child's record stays until it is destroyed. A forest's children are not released with it.
 * ARB_ERR_RELEASED: the consumer had released the child.
 */
ARB_API ArbStatus ARB_CALL ArbForestChildConsumerRelease(ArbForestChild *child);

/*
 * ArbForestChildConsumerRelease for every child document below the forest, children before their forest, then for the
 * forest itself. A nested forest that the consumer has released already is passed over with all that is below it. It
 * takes the children that are there: to miss none, wait first until the lists are closed. Not to be called again for a
 * forest whose release is going on.
 * ARB_ERR_RELEASED: the consumer had released the forest (nothing is done), or a child document below it.
 * A failure below the forest does not stop the walk; the first one is the answer.
 */
ARB_API ArbStatus ARB_CALL ArbForestConsumerReleaseSubtree(ArbForest *forest);

/* ------------------------------------------------------------------------------------------------------------------
 * Files
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Makes a file in no forest yet, named from a pattern, which may be null, with the document's next child id and its
 * host context. It counts as one child document of the current chunk.
 * ARB_OK: the caller owns *file until ArbForestAppendChild hands it over (as an ArbForestChild), else gives it back
 * with ArbFileDestroy. ARB_ERR_NOMEMORY: *file is untouched.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentCreateFile(ArbDocument *document, const char16_t *pattern, uint16_t formatId,
                                                 ArbFile **file);

/*
 * Makes a file in `document` from one of this or another document, as ArbDocumentCreateFile does: the source's name is
 * the pattern, so a "%" in it is expanded again. The file has format and host context of the source, and copies of its
 * metadata; an entry that finds no memory is missing. The source is unchanged. ARB_OK, or ARB_ERR_NOMEMORY with *file
 * untouched.
 */
ARB_API ArbStatus ARB_CALL ArbDocumentTransferFile(ArbDocument *document, ArbFile *source, ArbFile **file);

/*
 * Has the writer library write the file: CompWriteFile gets its host context, the file and the argument. The file does
 * not change, and may be written again. It works in every document.
 * ARB_ERR_RELEASED: the consumer has released the file; the writer is not called. Otherwise the writer's own status.
 */
ARB_API ArbStatus ARB_CALL ArbFileWrite(ArbFile *file, uint32_t argument);

/* ------------------------------------------------------------------------------------------------------------------
 * Child documents: paths
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * Where a child document belongs in the output: the directory of the document's output path, the name and "/" of every
 * enclosing forest whose archiveType is not 0, outermost first, then the child's own name. The directory is left out
 * for a child in no forest, and when, of the child and its enclosing forests, the outermost one whose archiveType is 0
 * to 3 has 2 or 3. Calls source-access slot 1 until it has given the output path; without one, or without a separator
 * in it, the directory is empty.
 * buffer may be null. *size is its capacity in units, terminator included, and becomes the capacity needed. That counts
 * the whole output path, unless an archive type leaves the directory out, so it may exceed what the path takes.
 * ARB_ERR_BADARG: size is null. ARB_ERR_SMALLBUFFER: the capacity is too small; the buffer holds the empty text, or is
 * untouched if its capacity is 0.
 * ARB_OK: the buffer holds the path; with a null buffer only the size is told.
 */
ARB_API ArbStatus ARB_CALL ArbForestChildGetDocumentPath(ArbForestChild *child, char16_t *buffer, uint32_t *size);

/* ------------------------------------------------------------------------------------------------------------------
 * Child documents: metadata and destruction
 * ------------------------------------------------------------------------------------------------------------------ */

/*
 * As ArbNodeSetMetadata and ArbNodeGetMetadata, for a child document; the metadata goes with it.
 */
ARB_API ArbStatus ARB_CALL ArbForestChildSetMetadata(ArbForestChild *child, uint32_t key, const void *value,
                                                     uint32_t size);
ARB_API ArbStatus ARB_CALL ArbForestChildGetMetadata(ArbForestChild *child, uint32_t key, void *buffer, uint32_t *size);

/*
 * Takes the forest out of its parent forest (whose childCount stays) and destroys it with every child document below
 * it, trees as by ArbTreeDestroy, with its events. Must not be given the root forest, which goes with its document.
 * Always ARB_OK.
 */
ARB_API ArbStatus ARB_CALL ArbForestDestroy(ArbForest *forest);

/*
 * Takes the file out of its forest (whose childCount stays), if it is in one, and destroys it. Always ARB_OK.
 */
ARB_API ArbStatus ARB_CALL ArbFileDestroy(ArbFile *file);

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_ARBTREE_H */
