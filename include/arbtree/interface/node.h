/**
 * \file
 * The record that every node begins with, its flags, and the cells through which nodes are linked and referred to.
 */
#ifndef ARBTREE_INTERFACE_NODE_H
#define ARBTREE_INTERFACE_NODE_H

#include "arbtree/interface/basics.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * \defgroup nodes Nodes and cells
 * The records of nodes, which hosts read and factories make.
 * \{
 */

#define ARB_NODE_LINKED 1u             /**< ArbNode.flags: in a parent's child list */
#define ARB_NODE_IN_TREE 2u            /**< ArbNode.flags: connected to the tree's root */
#define ARB_NODE_ATTRIBUTES_DONE 4u    /**< ArbNode.flags: the producer has finished the attributes */
#define ARB_NODE_CHILDREN_DONE 8u      /**< ArbNode.flags: the child list is closed */
#define ARB_NODE_HAS_ID 16u            /**< ArbNode.flags: can be referred to; the cell outlives the node */
#define ARB_NODE_PRODUCER_RELEASED 32u /**< ArbNode.flags: released by the producer */
#define ARB_NODE_CONSUMER_RELEASED 64u /**< ArbNode.flags: released by the consumer */

#define ARB_NODE_SEPARATE_STREAM 1u /**< ArbNode.flags2: written to a stream of its own; the cell outlives the node */
#define ARB_NODE_FREEING 2u         /**< ArbNode.flags2: its subtree is being freed */
#define ARB_NODE_SKIP_IF_EMPTY 4u   /**< ArbNode.flags2: carried for the consumer */

#define ARB_REF_NODE 0u     /**< ArbNodeRef.state: resolved; value is the node */
#define ARB_REF_FLOATING 1u /**< ArbNodeRef.state: value is the node number reserved for the node to come */
#define ARB_REF_NAMED 2u    /**< ArbNodeRef.state: value is the ID string of the node to come */
#define ARB_REF_FREED 3u    /**< ArbNodeRef.state: value is the freed node's number */
#define ARB_REF_FREED_ID 4u /**< ArbNodeRef.state: value is the freed node's ID string */

/**
 * A node-reference cell. Every link between nodes and every reference that a host holds is a pointer to a cell, so a
 * link can exist before its node and be read after it. Cells belong to their tree; hosts only read them.
 */
struct ArbNodeRef {
  uint32_t state;  /**< ARB_REF_... */
  uintptr_t value; /**< node pointer, number or ID string pointer, as the state says */
};

/**
 * The head that every node begins with; the fields of its kind follow it. A factory sets size and nodeType and leaves
 * the rest zero; everything else is the library's to write.
 */
struct ArbNode {
  ArbTree *tree;               /**< the owning tree */
  uint32_t number;             /**< unique in the document */
  ArbString *idString;         /**< null if none */
  const ArbNodeType *nodeType; /**< set by the factory */
  ArbNodeRef *parentCell;      /**< null while in no child list */
  ArbNodeRef *prevSiblingCell; /**< null if there is none */
  ArbNodeRef *nextSiblingCell; /**< null if there is none yet */
  uint32_t childCount;         /**< children linked, freed ones included */
  uint32_t freedChildCount;    /**< of them freed; see also ArbNodeTransferChildren */
  ArbNodeRef *firstChildCell;  /**< first child alive, or null */
  ArbNodeRef *lastChildCell;   /**< last child alive, or null */
  uint16_t size;               /**< bytes of the whole record; set by the factory */
  uint8_t flags;               /**< ARB_NODE_LINKED to ARB_NODE_CONSUMER_RELEASED */
  uint8_t flags2;              /**< ARB_NODE_SEPARATE_STREAM ...; further bits are the library's own */
  ArbNodeRef *cell;            /**< the node's own cell */
  ArbMetadataEntry *metadata;  /**< null when empty */
};

/** \} */

#ifdef __cplusplus
}
#endif

#endif /* ARBTREE_INTERFACE_NODE_H */
