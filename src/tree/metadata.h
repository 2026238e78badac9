// Metadata lists: 32-bit keys with opaque values, carried by every node and every child document. The owner of the head
// owns every entry and every value block.
#ifndef ARBTREE_TREE_METADATA_H
#define ARBTREE_TREE_METADATA_H

#include <cstdint>

#include "arbtree/arbtree.h"

// A value of at most 4 bytes is held in the entry itself (all but size and bytes zero), a longer one in a heap block of
// exactly `size` bytes. Keys are unique within a list.
struct ArbMetadataEntry {
  std::uint32_t key;
  std::uint32_t size;
  union {
    std::uint8_t bytes[4];
    std::uint8_t* block;
  } value;
  ArbMetadataEntry* next;
};

namespace arbtree::metadata {

// The bytes of an entry's value, wherever they are.
const std::uint8_t* valueOf(const ArbMetadataEntry& entry);

// Enters or replaces the value of a key. False when there is no memory: the list is then as it was. A null value with a
// non-zero size is refused the same way.
bool set(ArbMetadataEntry*& head, std::uint32_t key, const void* value, std::uint32_t size);

// ARB_OK or ARB_ERR_NOTFOUND. Nothing is copied when *size is smaller than the stored size, which is then stored there;
// a null `size` copies without a bound.
ArbStatus get(const ArbMetadataEntry* head, std::uint32_t key, void* buffer, std::uint32_t* size);

// A list of its own with the same keys and values; entries for which there is no memory are missing from it.
ArbMetadataEntry* copy(const ArbMetadataEntry* head);

// Releases every entry and leaves the list empty.
void clear(ArbMetadataEntry*& head);

}  // namespace arbtree::metadata

#endif
