// The document record, and the few questions about a document that every subsystem asks.
#ifndef ARBTREE_DOCUMENT_DOCUMENT_H
#define ARBTREE_DOCUMENT_DOCUMENT_H

#include <cstdint>

#include "arbtree/arbtree.h"
#include "platform/closed_libraries.h"

namespace arbtree {

struct CallbackSlot {
  ArbEventCallback function;  // null: a free slot
  void* context;
};

class StringIndex;
struct CellBlock;   // tree/cell_pool.h
struct BlockRange;  // tree/cell_pool.h

// Strings of the document in the order made; index 0 is the root of the search tree laid over them.
struct StringTable {
  ArbString** entries;
  std::uint32_t capacity;
  std::uint32_t count;
};

}  // namespace arbtree

struct ArbDocument {
  std::uint32_t source;
  ArbHostContext* hostContext;
  std::uint32_t flags;          // ARB_DOC_...
  std::uint32_t producerError;  // non-zero: the answer of every later run
  std::uint32_t childCounter;   // last child-document id handed out
  ArbForest* rootForest;
  ElemDefsHandle elemDefs;
  char16_t* inputPath;   // fetched on first use, owned
  char16_t* outputPath;  // the same
  std::uint32_t statusContext;
  std::uint32_t nodeCounter;     // last node number handed out, shared by all trees
  std::uint32_t chunkBreakSize;  // byte budget of a run; 0 none
  std::uint32_t chunkBytes;      // counters of the current run
  std::uint32_t chunkNodes;
  std::uint32_t chunkChildren;
  std::uint32_t runCount;
  std::uint32_t breakRequested;
  arbtree::StringTable strings;
  ArbInterfaceFunction interface[3];
  arbtree::CallbackSlot* callbacks;
  std::uint32_t callbackCount;  // slots; 0: no event is raised at all

  // For speed: finds the neighbours of a text in text order, so that entering a string need not walk the search tree.
  arbtree::StringIndex* stringIndex;
  // Blocks of trees that are gone, for the next ones (tree/cell_pool.cpp): a document may have very many small trees,
  // as many of them at a time as a chunk has child documents.
  arbtree::CellBlock* spareCellBlocks;
  std::uint32_t spareCellBlockCount;
};

namespace arbtree {

inline bool isProducerOnly(const ArbDocument& document) { return (document.flags & ARB_DOC_PRODUCER_ONLY) != 0; }

}  // namespace arbtree

#endif
