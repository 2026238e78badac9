// Every function called in the middle of a run: by the producer itself, by an event callback, and by a producer node
// hook. It works, or it answers that it cannot wait now; the run goes on, and the document can be finished and
// destroyed. Only ArbDocumentDestroy may not be called there.
#include <functional>
#include <set>
#include <string>
#include <utility>

#include "platform/heap.h"
#include "support/every_function.h"

namespace arbtree::test {
namespace {

// What is done once, by whichever function of the host comes to it.
std::function<void()> pending;

void act() {
  if (pending) std::exchange(pending, nullptr)();
}

std::uint32_t ARB_CALL onEvent(ArbDocument*, std::uint32_t event, void* argument, void*) {
  const bool isTrigger = static_cast<ArbNode*>(argument)->nodeType->elementId == kTrigger;
  if (event == ARB_EVENT_ATTRIBUTES_DONE && isTrigger) act();
  return 0;
}

std::uint32_t ARB_CALL onHook(std::uintptr_t, void*) { return act(), 0; }

// What leads into `act` in the middle of a run.
struct From {
  const char* name;
  void (*lead)(const Content&);
};
const From kFrom[] = {
    {"the producer", [](const Content&) { act(); }},
    {"an event", [](const Content& content) { ok(ArbDocumentRegisterCallback(content.document, onEvent, nullptr)); }},
    {"a hook",
     [](const Content& content) {
       ok(ArbTreeSetProducerNodeHook(content.tree, ARB_HOOK_ATTRIBUTES_DONE, kTrigger, onHook, nullptr));
     }},
};

TEST(Reentrancy, EveryFunctionDuringARun) {
  const std::uint64_t blocks = heap::testing::liveBlocks();
  const std::uint64_t elements = liveElements();
  std::set<std::string> functions;
  for (const FunctionCall& row : everyFunction()) {
    functions.insert(row.function);
    for (const From& from : kFrom) {
      SCOPED_TRACE(testing::Message() << row.function << " expecting " << row.expected << " from " << from.name);
      Content content(row.mode);
      std::uint32_t answer = 0xDEAD;
      pending = [&] {
        EXPECT_TRUE(content.document->flags & ARB_DOC_RUNNING);
        answer = row.call(content);
      };
      content.run([&] { from.lead(content); });
      EXPECT_EQ(row.expected, answer);
      content.clear();
    }
    EXPECT_EQ(elements, liveElements()) << row.function;
    EXPECT_EQ(blocks, heap::testing::liveBlocks()) << row.function;
  }
  EXPECT_EQ(116u, functions.size()) << "all exports but ArbDocumentDestroy";
}

}  // namespace
}  // namespace arbtree::test
