/**
 * \file
 * Child documents: the records of forests, files and trees, making and destroying them, their names and paths.
 */
#ifndef ARBTREE_INTERFACE_CHILD_DOCUMENTS_H
#define ARBTREE_INTERFACE_CHILD_DOCUMENTS_H

#include "arbtree/interface/node.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup child_documents Make, name and destroy child documents
 * A child document is a forest, a file or a tree. Whoever makes one owns it until it is appended to a forest
 * (ArbForestAppendChild), which then destroys it.
 *
 * Every child document is named once, when it is made, from a pattern, cut at 259 units:
 *
 * \verbatim
   %f %b %x   file name of the input path; the same up to its last "." (without a ".": %b nothing, %x the whole name;
              a "." that is the first unit of the whole path counts for %b alone)
   %F %B %X   the same of the output path
   %e         extension of the child's format, without a dot; nothing for an unknown format
   %n         the child's id as a signed decimal number
   null       the pattern %f.%e
   \endverbatim
 *
 * A percent sign and any other unit write nothing. A path that cannot be had counts as "out.xml". Making a child
 * document calls the source-access slots 0 and 1 until they have given the paths, which the document then keeps.
 * \{
 */

#define ARB_CHILD_FOREST 1u /**< ArbForestChild.kind: an ArbForest */
#define ARB_CHILD_FILE 2u   /**< ArbForestChild.kind: an ArbFile */
#define ARB_CHILD_TREE 3u   /**< ArbForestChild.kind: an ArbTree */

#define ARB_CHILD_ATTACHED 1u           /**< ArbForestChild.flags: in a forest; the root forest has it from birth */
#define ARB_CHILD_CLOSED 2u             /**< ArbForestChild.flags: a forest's child list is complete */
#define ARB_CHILD_PRODUCER_DONE 4u      /**< ArbForestChild.flags: the producer has finished the child */
#define ARB_CHILD_PRODUCER_RELEASED 8u  /**< ArbForestChild.flags: the producer will not touch the child again */
#define ARB_CHILD_CONSUMER_RELEASED 16u /**< ArbForestChild.flags: the consumer will not navigate from it again */

/** The header that every child document begins with. Hosts read it; the library writes it. */
struct ArbForestChild {
  uint32_t kind;               /**< ARB_CHILD_FOREST, ARB_CHILD_FILE or ARB_CHILD_TREE */
  uint32_t id;                 /**< sequence number in the document; the root forest is 1 */
  char16_t name[260];          /**< at most 259 units and a zero; made at creation, never changed */
  uint16_t formatId;           /**< as the source-access library knows it */
  ArbForest *parent;           /**< null for the root forest and for a child not appended */
  ArbDocument *document;       /**< the document that it was made in */
  ArbForestChild *prevSibling; /**< null if there is none */
  ArbForestChild *nextSibling; /**< null if there is none yet */
  uint32_t flags;              /**< ARB_CHILD_ATTACHED ... */
  ArbMetadataEntry *metadata;  /**< null when empty */
};

/** A forest: a list of child documents. */
struct ArbForest {
  ArbForestChild child;       /**< the header */
  uint32_t childCount;        /**< children ever appended */
  ArbForestChild *firstChild; /**< null if there is none */
  ArbForestChild *lastChild;  /**< null if there is none */
  uint32_t archiveType;       /**< 0 the root forest, 1 at creation */
  /* Kept by the library's walks over nested forests, which use no stack: where each side's walk goes on after it. */
  ArbForestChild *producerWalkNext; /**< the library's own */
  ArbForestChild *consumerWalkNext; /**< the library's own */
};

/** The fields that every tree begins with. */
struct ArbTreeHead {
  ArbForestChild child; /**< the header */
  ArbNodeRef *rootCell; /**< the cell of the root node */
};

/** A file: content that the library does not parse. */
struct ArbFile {
  ArbForestChild child;        /**< the header */
  ArbHostContext *hostContext; /**< handed to the writer component */
};

/**
 * Makes a forest in no forest yet: archive type 1, format 1998, the document's next child id. It counts as one child
 * document of the current chunk. nameTemplate may be null.
 *
 * \retval ARB_OK the caller owns *forest until ArbForestAppendChild hands it over, else gives it back with
 *   ArbForestDestroy
 * \retval ARB_ERR_NOMEMORY *forest is untouched
 */
ARB_API ArbStatus ARB_CALL ArbDocumentCreateForest(ArbDocument *document, const char16_t *nameTemplate,
                                                   ArbForest **forest);

/**
 * Makes a tree with its root node (ARB_ELEM_ROOT), in no forest yet: format 1150, the document's next child id. It
 * counts as one child document and one node of the current chunk. nameTemplate may be null. Raises
 * ARB_EVENT_NODE_CREATED for the root, with null when the root could not be made.
 *
 * \retval ARB_OK the caller owns *tree until ArbForestAppendChild hands it over (as an ArbForestChild), else gives it
 *   back with ArbTreeDestroy
 * \retval ARB_ERR_NOMEMORY *tree is untouched when the tree itself found no memory, null when the root's cell found
 *   none
 * \retval ARB_ERR_NOTFOUND no memory for the root's record; *tree is null
 */
ARB_API ArbStatus ARB_CALL ArbDocumentCreateTree(ArbDocument *document, const char16_t *nameTemplate, ArbTree **tree);

/**
 * The root node of a tree, for its producer: ArbTreeQueryRootNode is the consumer's. Not an exported function: it reads
 * the fields. REQUIRES: tree is not null.
 *
 * \return The node, which is the tree's; null when it has been freed.
 */
static inline ArbNode *ArbTreeRootNode(const ArbTree *tree) {
#ifdef __cplusplus
  const ArbNodeRef *const cell = reinterpret_cast<const ArbTreeHead *>(tree)->rootCell;
  return cell && cell->state == ARB_REF_NODE ? reinterpret_cast<ArbNode *>(cell->value) : nullptr;
#else
  const ArbNodeRef *const cell = ((const ArbTreeHead *)tree)->rootCell;
  return cell && cell->state == ARB_REF_NODE ? (ArbNode *)cell->value : 0;
#endif
}

/**
 * Makes a file in no forest yet, named from a pattern, which may be null, with the document's next child id and its
 * host context. It counts as one child document of the current chunk.
 *
 * \retval ARB_OK the caller owns *file until ArbForestAppendChild hands it over (as an ArbForestChild), else gives it
 *   back with ArbFileDestroy
 * \retval ARB_ERR_NOMEMORY *file is untouched
 */
ARB_API ArbStatus ARB_CALL ArbDocumentCreateFile(ArbDocument *document, const char16_t *pattern, uint16_t formatId,
                                                 ArbFile **file);

/**
 * Makes a file in `document` from one of this or another document, as ArbDocumentCreateFile does: the source's name is
 * the pattern, so a percent sign in it is expanded again. The file has format and host context of the source, and
 * copies of its metadata; an entry that finds no memory is missing. The source is unchanged.
 *
 * \retval ARB_OK the caller owns *file, as by ArbDocumentCreateFile
 * \retval ARB_ERR_NOMEMORY *file is untouched
 */
ARB_API ArbStatus ARB_CALL ArbDocumentTransferFile(ArbDocument *document, ArbFile *source, ArbFile **file);

/**
 * Has the writer library write the file: CompWriteFile gets its host context, the file and the argument. The file does
 * not change, and may be written again. It works in every document.
 *
 * \retval ARB_OK the writer has written it
 * \retval ARB_ERR_RELEASED the consumer has released the file; the writer is not called
 * \return Otherwise the writer's own status.
 */
ARB_API ArbStatus ARB_CALL ArbFileWrite(ArbFile *file, uint32_t argument);

/**
 * Where a child document belongs in the output: the directory of the document's output path, the name and "/" of every
 * enclosing forest whose archiveType is not 0, outermost first, then the child's own name. The directory is left out
 * for a child in no forest, and when, of the child and its enclosing forests, the outermost one whose archiveType is 0
 * to 3 has 2 or 3. Calls source-access slot 1 until it has given the output path; without one, or without a separator
 * in it, the directory is empty.
 *
 * buffer may be null. *size is its capacity in units, terminator included, and becomes the capacity needed. That counts
 * the whole output path, unless an archive type leaves the directory out, so it may exceed what the path takes.
 *
 * \retval ARB_OK the buffer, unless it is null, holds the path
 * \retval ARB_ERR_BADARG size is null
 * \retval ARB_ERR_SMALLBUFFER the capacity is too small, with a null buffer too, and only the size is told; the buffer
 *   holds the empty text, or is untouched if its capacity is 0
 */
ARB_API ArbStatus ARB_CALL ArbForestChildGetDocumentPath(ArbForestChild *child, char16_t *buffer, uint32_t *size);

/**
 * Takes the forest out of its parent forest (whose childCount stays), if it is in one, and destroys it with every child
 * document below it, trees as by ArbTreeDestroy, with its events. Must not be given the root forest, which goes with
 * its document.
 *
 * \retval ARB_OK always
 */
ARB_API ArbStatus ARB_CALL ArbForestDestroy(ArbForest *forest);

/**
 * Takes the tree out of its forest (whose childCount stays), if it is in one, and destroys it: the root with its
 * subtree, all cells and so all references, the hooks, the metadata. Raises ARB_EVENT_NODE_FREED with the root, and
 * calls the destroyers of the nodes' namespaces. Nodes not connected to the root are not freed: ArbNodeDestroy them
 * first. Strings stay with the document; one that was bound to a node of this tree is free to be bound again.
 *
 * \retval ARB_OK always
 */
ARB_API ArbStatus ARB_CALL ArbTreeDestroy(ArbTree *tree);

/**
 * Takes the file out of its forest (whose childCount stays), if it is in one, and destroys it.
 *
 * \retval ARB_OK always
 */
ARB_API ArbStatus ARB_CALL ArbFileDestroy(ArbFile *file);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_CHILD_DOCUMENTS_H */
