/**
 * \file
 * Kinds of nodes: element ids, the descriptor of a kind, and the factories that make nodes of a namespace's kinds.
 */
#ifndef ARBTREE_INTERFACE_KINDS_H
#define ARBTREE_INTERFACE_KINDS_H

#include "arbtree/interface/node.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup kinds Teach a tree kinds of nodes
 * Every node is of a kind, which an element id names. Element ids are compared as whole 32-bit values:
 *
 * \verbatim
    31        26 25                 14 13                   0
   +------------+---------------------+----------------------+
   | definer's  | namespace (0..4095) | local id (0..16383)  |
   +------------+---------------------+----------------------+
   \endverbatim
 *
 * A tree knows the six kinds of the built-in namespace. Those of another namespace can be made once that is registered
 * in the tree.
 * \{
 */

#define ARB_NAMESPACE_BUILTIN 2u                                          /**< the library's own namespace */
#define ARB_ELEMENT_NAMESPACE(elementId) (((elementId) >> 14) & 0xFFFu)   /**< the namespace of an element id */
#define ARB_ELEM_ROOT 0x20008001u                                         /**< the root of a tree, an ArbNode */
#define ARB_ELEM_TEXT 0x08008002u                                         /**< text, an ArbTextNode */
#define ARB_ELEM_TEXT_3 0x0C008003u                                       /**< a second kind of text */
#define ARB_ELEM_TEXT_4 0x1C008004u                                       /**< a third kind of text */
#define ARB_ELEM_ENCODED_BYTES 0x08008005u                                /**< bytes, an ArbEncodedBytesNode */
#define ARB_ELEM_EXTERNAL_REFERENCE 0x10008006u                           /**< an ArbExternalReferenceNode */

#define ARB_ATTR_VALUE 0xE8008000u /**< the value of the four text-bearing kinds; a pointer to the text */

/** ArbNodeType.typeFlags: the attribute area can only be compared, hashed and copied by the kind's operations. */
#define ARB_TYPE_ATTR_FUNCTIONS 0x20u

struct BaseStream; /* a stream handle of the baseutil library */

/** One attribute of a kind. */
typedef struct ArbAttributeDef {
  uint32_t attributeId;   /**< in the element-id encoding; clones skip those whose top byte is 0x37 */
  uint32_t attributeInfo; /**< handed to the traversal's attribute callback */
} ArbAttributeDef;

/**
 * The descriptor of a node kind: static, read-only data shared by all its nodes. Any operation may be null where the
 * kind has no use for it; getAttribute, setAttribute and hasAttribute are needed by a kind with attributes, hash and
 * isEqual by a kind with ARB_TYPE_ATTR_FUNCTIONS. The library never calls write and read. Operations must not throw, and
 * must not change the tree that they are called for; a node's own value and metadata they may change.
 */
struct ArbNodeType {
  uint32_t elementId;                /**< the kind's name */
  uint32_t typeFlags;                /**< ARB_TYPE_ATTR_FUNCTIONS; other bits are the definer's */
  uint32_t reserved[2];              /**< zero */
  uint32_t attributeCount;           /**< entries of attributes */
  const ArbAttributeDef *attributes; /**< null when there are none */
  /** The value of attribute `index`: a number or a pointer that stays the node's. */
  uintptr_t(ARB_CALL *getAttribute)(ArbNode *node, uint32_t index);
  /** Sets attribute `index` from a value of the form that getAttribute returns; a status. */
  uint32_t(ARB_CALL *setAttribute)(ArbNode *node, uint32_t index, uintptr_t value);
  /** 1 when attribute `index` is present, else 0. */
  uint32_t(ARB_CALL *hasAttribute)(ArbNode *node, uint32_t index);
  /** Hash of the attribute area. */
  uint32_t(ARB_CALL *hash)(ArbNode *node);
  /** 1 when the attribute areas of two nodes of this kind are equal, else 0. */
  uint32_t(ARB_CALL *isEqual)(ArbNode *a, ArbNode *b);
  /** Writes the node to a stream; a status. */
  uint32_t(ARB_CALL *write)(ArbNode *node, struct BaseStream *stream);
  /**
   * Reads what write wrote back into a record of the same kind; a status. The whole record is overwritten, its head
   * included. That of the built-in kinds makes a buffer for the value, the node's own, and forgets the one that the
   * record had: give it a record without value, or free the value before (ArbAbstractTextNodeSetValue with null).
   */
  uint32_t(ARB_CALL *read)(ArbNode *node, struct BaseStream *stream);
};

/**
 * Makes a node of an element id: allocates the whole record, zeroes it, sets size and nodeType and whatever the kind
 * needs, and stores it in *node (null on entry). For an element id that it does not make it stores nothing. The
 * result is not used. It must not throw.
 */
typedef uint32_t(ARB_CALL *ArbNodeFactory)(ArbTree *tree, uint32_t elementId, ArbNode **node);

/**
 * Releases all that the node's kind owns, and its record. The node is already unlinked. The result is not used. It must
 * not throw.
 */
typedef uint32_t(ARB_CALL *ArbNodeDestroyer)(ArbNode *node);

/**
 * Registers a namespace, whose factory and destroyer the element-definition library gives: needed before nodes of its
 * kinds can be created in this tree. The low 16 bits name the namespace; that library gets the whole value. Registering
 * it again replaces its two functions; while the namespace is the one looked up last, the old two are still used.
 *
 * A tree holds 32 namespaces: one more is not registered, without a status of its own. ArbTreeGetNodeFactory tells.
 *
 * \retval ARB_OK the namespace is registered, if there was room
 * \retval ARB_ERR_LOCKED the producer has declared the tree done
 * \retval ARB_ERR_NAMESPACE the low 16 bits are ARB_NAMESPACE_BUILTIN, which needs no registration
 * \return Otherwise a status of the element-definition library: of its look-up (nothing is registered then), else of
 *   the count of the namespace's elements that it is asked for after the registration.
 */
ARB_API ArbStatus ARB_CALL ArbTreeAddNodeFactory(ArbTree *tree, uint32_t elementNamespace);

/**
 * Finds the function that makes nodes of a namespace's kinds. factory may be null.
 *
 * \retval ARB_OK *factory is the function; for ARB_NAMESPACE_BUILTIN always
 * \retval ARB_ERR_NOTFOUND the namespace is not registered here; *factory is null
 */
ARB_API ArbStatus ARB_CALL ArbTreeGetNodeFactory(ArbTree *tree, uint16_t elementNamespace, ArbNodeFactory *factory);

/**
 * Finds the function that destroys nodes of a namespace's kinds. destroyer may be null.
 *
 * \retval ARB_OK *destroyer is the function; for ARB_NAMESPACE_BUILTIN always
 * \retval ARB_ERR_NOTFOUND the namespace is not registered here; *destroyer is null
 */
ARB_API ArbStatus ARB_CALL ArbTreeGetNodeDestroyer(ArbTree *tree, uint16_t elementNamespace,
                                                   ArbNodeDestroyer *destroyer);

/**
 * Registers a namespace as ArbTreeAddNodeFactory does and makes it the tree's default, which the library only keeps.
 *
 * \retval ARB_OK the namespace is the default
 * \retval ARB_ERR_LOCKED the producer has declared the tree done, or a default other than the initial 1 has been chosen
 * \return Otherwise a failure of ArbTreeAddNodeFactory, and the default can still be chosen.
 */
ARB_API ArbStatus ARB_CALL ArbTreeSetDefaultNamespace(ArbTree *tree, uint32_t elementNamespace);

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_KINDS_H */
