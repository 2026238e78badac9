// The table of event callbacks: which functions an event reaches, in which order, while the table changes.
#include <functional>
#include <initializer_list>
#include <utility>

#include "support/host.h"

namespace arbtree::test {
namespace {

// What the callbacks below write, and what one of them does when it is called.
struct Calls {
  Lines lines;
  ArbDocument* document = nullptr;
  std::function<void()> duringA;  // once
  bool acted = false;
};
Calls* calls = nullptr;

template <char kName>
std::uint32_t ARB_CALL callback(ArbDocument* document, std::uint32_t event, void* argument, void* context) {
  EXPECT_EQ(calls->document, document);
  EXPECT_EQ(calls, argument);
  const char* const suffix = context ? static_cast<const char*>(context) : "";
  calls->lines.push_back(std::string(1, kName) + suffix + std::to_string(event));
  if (kName == 'a' && calls->duringA && !std::exchange(calls->acted, true)) calls->duringA();
  return 77;
}

const ArbEventCallback kA = callback<'a'>;
const ArbEventCallback kB = callback<'b'>;
const ArbEventCallback kC = callback<'c'>;
const ArbEventCallback kD = callback<'d'>;

class Callbacks : public testing::Test {
 protected:
  void SetUp() override {
    state.document = host.document;
    calls = &state;
  }
  void TearDown() override { calls = nullptr; }

  void add(std::initializer_list<ArbEventCallback> functions) {
    for (const ArbEventCallback f : functions) ok(ArbDocumentRegisterCallback(host.document, f, nullptr));
  }
  ArbStatus drop(ArbEventCallback function) { return ArbDocumentUnregisterCallback(host.document, function); }
  Lines raise(std::uint32_t event) {
    state.lines.clear();
    ArbDocumentDoCallback(host.document, event, &state);
    return state.lines;
  }

  Host host;
  Calls state;
};

TEST_F(Callbacks, UnregistrationClearsTheFirstSlotOfTheFunctionOnly) {
  char first[] = "-first-";
  char second[] = "-second-";
  ok(ArbDocumentRegisterCallback(host.document, kA, first));
  ok(ArbDocumentRegisterCallback(host.document, kA, second));
  EXPECT_EQ((Lines{"a-first-1", "a-second-1"}), raise(1));
  ok(drop(kA));
  EXPECT_EQ((Lines{"a-second-1"}), raise(1));
  EXPECT_EQ(ARB_ERR_NOTFOUND, drop(kB));
  EXPECT_EQ((Lines{"a-second-1"}), raise(1));
}

TEST_F(Callbacks, TheTableGrowsByOneReusesFreeSlotsAndEndsWithTheLastFunction) {
  EXPECT_EQ(ARB_ERR_NOTFOUND, drop(kA));
  add({kA, kB, kC});
  EXPECT_EQ(3u, host.document->callbackCount);
  ok(drop(kB));
  EXPECT_EQ(3u, host.document->callbackCount);
  add({kD});
  EXPECT_EQ(3u, host.document->callbackCount);
  EXPECT_EQ((Lines{"a1", "d1", "c1"}), raise(1));
  ok(drop(kA));
  ok(drop(kC));
  ok(drop(kD));
  EXPECT_EQ(0u, host.document->callbackCount);
  EXPECT_EQ(nullptr, host.document->callbacks);
  EXPECT_EQ(ARB_ERR_NOTFOUND, drop(kD));
  add({kB});
  EXPECT_EQ(1u, host.document->callbackCount);
  EXPECT_EQ((Lines{"b2"}), raise(2));
}

TEST_F(Callbacks, TheTableIsReadAgainAfterEveryCall) {
  struct Row {
    const char* name;
    std::function<void()> duringA;
    Lines sameEvent;
    Lines nextEvent;
  };
  const Row rows[] = {
      {"a new last slot is called", [&] { add({kD}); }, {"a1", "b1", "c1", "d1"}, {"a2", "b2", "c2", "d2"}},
      {"a later slot cleared is not called", [&] { drop(kB); }, {"a1", "c1"}, {"a2", "c2"}},
      {"a later slot reused is called", [&] { drop(kB), add({kD}); }, {"a1", "d1", "c1"}, {"a2", "d2", "c2"}},
      {"a slot that clears itself", [&] { drop(kA); }, {"a1", "b1", "c1"}, {"b2", "c2"}},
      {"an earlier slot reused is not called", [&] { drop(kA), add({kD}); }, {"a1", "b1", "c1"}, {"d2", "b2", "c2"}},
      {"an emptied table ends the round", [&] { drop(kC), drop(kB), drop(kA); }, {"a1"}, {}},
      {"a table emptied and started again", [&] { drop(kC), drop(kB), drop(kA), add({kD}); }, {"a1"}, {"d2"}},
      {"an event raised during an event",
       [&] { ArbDocumentDoCallback(host.document, 7, &state); },
       {"a1", "a7", "b7", "c7", "b1", "c1"},
       {"a2", "b2", "c2"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    add({kA, kB, kC});
    state.duringA = row.duringA;
    state.acted = false;
    EXPECT_EQ(row.sameEvent, raise(1));
    EXPECT_EQ(row.nextEvent, raise(2));
    for (const ArbEventCallback f : {kA, kB, kC, kD}) {
      while (drop(f) == ARB_OK) {
      }
    }
  }
}

}  // namespace
}  // namespace arbtree::test
