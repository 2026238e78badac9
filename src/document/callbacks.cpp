// The table of event callbacks: exactly callbackCount slots, grown one at a time, gone when no slot holds a function.
#include <algorithm>

#include "document/document.h"
#include "platform/heap.h"

namespace arbtree {
namespace {

CallbackSlot* end(ArbDocument& document) { return document.callbacks + document.callbackCount; }

CallbackSlot* findSlot(ArbDocument& document, ArbEventCallback function) {
  return std::find_if(document.callbacks, end(document),
                      [&](const CallbackSlot& slot) { return slot.function == function; });
}

// Null when there is no memory; the table is then as it was.
CallbackSlot* addSlot(ArbDocument& document) {
  auto* const grown = heap::allocateArray<CallbackSlot>(std::size_t{document.callbackCount} + 1);
  if (!grown) return nullptr;
  std::copy(document.callbacks, end(document), grown);
  heap::release(document.callbacks);
  document.callbacks = grown;
  return &grown[document.callbackCount++];
}

void dropTable(ArbDocument& document) {
  heap::release(document.callbacks);
  document.callbacks = nullptr;
  document.callbackCount = 0;
}

bool anyFunction(ArbDocument& document) {
  return std::any_of(document.callbacks, end(document), [](const CallbackSlot& slot) { return slot.function; });
}

}  // namespace
}  // namespace arbtree

using namespace arbtree;

ArbStatus ARB_CALL ArbDocumentRegisterCallback(ArbDocument* document, ArbEventCallback function, void* context) {
  if (!document || !function) return ARB_ERR_BADARG;
  CallbackSlot* slot = findSlot(*document, nullptr);
  if (slot == end(*document)) slot = addSlot(*document);
  if (!slot) return ARB_ERR_NOMEMORY;
  *slot = {function, context};
  return ARB_OK;
}

ArbStatus ARB_CALL ArbDocumentUnregisterCallback(ArbDocument* document, ArbEventCallback function) {
  if (!document || !function) return ARB_ERR_BADARG;
  CallbackSlot* const slot = findSlot(*document, function);
  const bool found = slot != end(*document);
  if (found) *slot = {nullptr, nullptr};
  if (!anyFunction(*document)) dropTable(*document);
  return found ? ARB_OK : ARB_ERR_NOTFOUND;
}

// A callback may register and unregister callbacks, so the table is read anew at every step.
[[gnu::noinline]] void ARB_CALL ArbDocumentDoCallback(ArbDocument* document, uint32_t event, void* argument) {
  if (!document) return;
  for (std::uint32_t i = 0; i < document->callbackCount; ++i) {
    const CallbackSlot slot = document->callbacks[i];
    if (slot.function) slot.function(document, event, argument, slot.context);
  }
}
