// The table of event callbacks: which functions an event reaches, in which order, while the table changes.
#include <functional>
#include <initializer_list>
#include <utility>

#include "support/host.h"

namespace arbtree::test {
namespace {

// What callback a does when it is called next, once.
std::function<void(ArbDocument*)> duringA;

// Notes its call in the lines that the event carries.
template <char kName>
std::uint32_t ARB_CALL callback(ArbDocument* document, std::uint32_t event, void* lines, void* context) {
  const char* const suffix = context ? static_cast<const char*>(context) : "";
  static_cast<Lines*>(lines)->push_back(std::string(1, kName) + suffix + std::to_string(event));
  if (kName == 'a' && duringA) std::exchange(duringA, nullptr)(document);
  return 77;
}

const ArbEventCallback kA = callback<'a'>;
const ArbEventCallback kB = callback<'b'>;
const ArbEventCallback kC = callback<'c'>;
const ArbEventCallback kD = callback<'d'>;

void add(ArbDocument* document, std::initializer_list<ArbEventCallback> functions) {
  for (const ArbEventCallback function : functions) ok(ArbDocumentRegisterCallback(document, function, nullptr));
}

void drop(ArbDocument* document, std::initializer_list<ArbEventCallback> functions) {
  for (const ArbEventCallback function : functions) ok(ArbDocumentUnregisterCallback(document, function));
}

Lines raise(ArbDocument* document, std::uint32_t event) {
  Lines lines;
  ArbDocumentDoCallback(document, event, &lines);
  return lines;
}

TEST(Callbacks, UnregistrationClearsTheFirstSlotOfTheFunctionOnly) {
  Host host;
  char first[] = "-first-";
  char second[] = "-second-";
  ok(ArbDocumentRegisterCallback(host.document, kA, first));
  ok(ArbDocumentRegisterCallback(host.document, kA, second));
  EXPECT_EQ((Lines{"a-first-1", "a-second-1"}), raise(host.document, 1));
  drop(host.document, {kA});
  EXPECT_EQ(ARB_ERR_NOTFOUND, ArbDocumentUnregisterCallback(host.document, kB));
  EXPECT_EQ((Lines{"a-second-1"}), raise(host.document, 1));
}

TEST(Callbacks, TheTableGrowsByOneReusesFreeSlotsAndEndsWithTheLastFunction) {
  Host host;
  for (int life = 0; life < 2; ++life) {
    EXPECT_EQ(ARB_ERR_NOTFOUND, ArbDocumentUnregisterCallback(host.document, kA));
    add(host.document, {kA, kB, kC});
    drop(host.document, {kB});
    add(host.document, {kD});
    EXPECT_EQ(3u, host.document->callbackCount);
    EXPECT_EQ((Lines{"a1", "d1", "c1"}), raise(host.document, 1));
    drop(host.document, {kA, kC, kD});
    EXPECT_EQ(0u, host.document->callbackCount);
    EXPECT_EQ(nullptr, host.document->callbacks);
  }
}

TEST(Callbacks, TheTableIsReadAgainAfterEveryCall) {
  struct Row {
    const char* name;
    std::function<void(ArbDocument*)> duringA;
    Lines sameEvent;
    Lines nextEvent;
  };
  using D = ArbDocument;
  const Row rows[] = {
      {"a new last slot is called", [](D* d) { add(d, {kD}); }, {"a1", "b1", "c1", "d1"}, {"a2", "b2", "c2", "d2"}},
      {"a later slot cleared is not called", [](D* d) { drop(d, {kB}); }, {"a1", "c1"}, {"a2", "c2"}},
      {"a later slot reused is called",
       [](D* d) { drop(d, {kB}), add(d, {kD}); },
       {"a1", "d1", "c1"},
       {"a2", "d2", "c2"}},
      {"a slot that clears itself", [](D* d) { drop(d, {kA}); }, {"a1", "b1", "c1"}, {"b2", "c2"}},
      {"an earlier slot reused is not called",
       [](D* d) { drop(d, {kA}), add(d, {kD}); },
       {"a1", "b1", "c1"},
       {"d2", "b2", "c2"}},
      {"an emptied table ends the round",
       [](D* d) {
         drop(d, {kC, kB, kA});
       },
       {"a1"},
       {}},
      {"a table emptied and started again",
       [](D* d) {
         drop(d, {kC, kB, kA}), add(d, {kD});
       },
       {"a1"},
       {"d2"}},
      {"an event raised during an event",
       [](D* d) {
         EXPECT_EQ((Lines{"a7", "b7", "c7"}), raise(d, 7));
       },
       {"a1", "b1", "c1"},
       {"a2", "b2", "c2"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Host host;
    add(host.document, {kA, kB, kC});
    duringA = row.duringA;
    EXPECT_EQ(row.sameEvent, raise(host.document, 1));
    EXPECT_EQ(row.nextEvent, raise(host.document, 2));
  }
}

}  // namespace
}  // namespace arbtree::test
