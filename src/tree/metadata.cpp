#include "tree/metadata.h"

#include <cstring>

#include "platform/heap.h"

namespace arbtree::metadata {
namespace {

constexpr std::uint32_t kInlineBytes = 4;

bool needsBlock(std::uint32_t size) { return size > kInlineBytes; }

ArbMetadataEntry* find(ArbMetadataEntry* head, std::uint32_t key) {
  while (head && head->key != key) head = head->next;
  return head;
}

void releaseValue(ArbMetadataEntry& entry) {
  if (needsBlock(entry.size)) heap::release(entry.value.block, entry.size);
}

// A copy of `size` bytes as an entry holds them. False when there is no memory.
bool copyValue(decltype(ArbMetadataEntry::value)& copy, const void* value, std::uint32_t size) {
  copy = {};
  if (needsBlock(size)) {
    copy.block = static_cast<std::uint8_t*>(heap::allocate(size));
    if (!copy.block) return false;
  }
  if (size != 0) std::memcpy(needsBlock(size) ? copy.block : copy.bytes, value, size);
  return true;
}

// The value may be the entry's own, or a part of it, so the old one goes last. False when there is no memory: the old
// value is still valid.
bool replaceValue(ArbMetadataEntry& entry, const void* value, std::uint32_t size) {
  if (entry.size == size) {
    if (size != 0) std::memmove(needsBlock(size) ? entry.value.block : entry.value.bytes, value, size);
    return true;
  }
  decltype(entry.value) copy;
  if (!copyValue(copy, value, size)) return false;
  releaseValue(entry);
  entry.value = copy;
  entry.size = size;
  return true;
}

}  // namespace

const std::uint8_t* valueOf(const ArbMetadataEntry& entry) {
  return needsBlock(entry.size) ? entry.value.block : entry.value.bytes;
}

bool set(ArbMetadataEntry*& head, std::uint32_t key, const void* value, std::uint32_t size) {
  if (!value && size != 0) return false;
  if (ArbMetadataEntry* const entry = find(head, key)) return replaceValue(*entry, value, size);
  auto* const entry = heap::allocateRecord<ArbMetadataEntry>();
  if (!entry) return false;
  if (!copyValue(entry->value, value, size)) {
    heap::release(entry, sizeof *entry);
    return false;
  }
  entry->key = key;
  entry->size = size;
  entry->next = head;
  head = entry;
  return true;
}

ArbStatus get(const ArbMetadataEntry* head, std::uint32_t key, void* buffer, std::uint32_t* size) {
  const ArbMetadataEntry* const entry = find(const_cast<ArbMetadataEntry*>(head), key);
  if (!entry) return ARB_ERR_NOTFOUND;
  const bool fits = !size || entry->size <= *size;
  if (fits && buffer && entry->size != 0) std::memcpy(buffer, valueOf(*entry), entry->size);
  if (size) *size = entry->size;
  return ARB_OK;
}

ArbMetadataEntry* copy(const ArbMetadataEntry* head) {
  ArbMetadataEntry* result = nullptr;
  for (; head; head = head->next) set(result, head->key, valueOf(*head), head->size);
  return result;
}

void clear(ArbMetadataEntry*& head) {
  while (ArbMetadataEntry* const entry = head) {
    head = entry->next;
    releaseValue(*entry);
    heap::release(entry, sizeof *entry);
  }
}

}  // namespace arbtree::metadata

using namespace arbtree;

// The set call has no status for a value that could not be stored: the old value of the key is then still there.
ArbStatus ARB_CALL ArbNodeSetMetadata(ArbNode* node, uint32_t key, const void* value, uint32_t size) {
  if (!node) return ARB_ERR_BADARG;
  metadata::set(node->metadata, key, value, size);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbNodeGetMetadata(ArbNode* node, uint32_t key, void* buffer, uint32_t* size) {
  if (!node) return ARB_ERR_BADARG;
  return metadata::get(node->metadata, key, buffer, size);
}

ArbStatus ARB_CALL ArbForestChildSetMetadata(ArbForestChild* child, uint32_t key, const void* value, uint32_t size) {
  if (!child) return ARB_ERR_BADARG;
  metadata::set(child->metadata, key, value, size);
  return ARB_OK;
}

ArbStatus ARB_CALL ArbForestChildGetMetadata(ArbForestChild* child, uint32_t key, void* buffer, uint32_t* size) {
  if (!child) return ARB_ERR_BADARG;
  return metadata::get(child->metadata, key, buffer, size);
}
