// The table of event callbacks: which functions an event reaches, in which order, while the table changes.
#include <functional>
#include <string>
#include <utility>

#include "support/host.h"

namespace arbtree::test {
namespace {

// What callback a does when it is called next, once.
std::function<void(ArbDocument*)> duringA;

// Notes its name, its context and the event in the text that the event carries.
template <char kName>
std::uint32_t ARB_CALL callback(ArbDocument* document, std::uint32_t event, void* calls, void* context) {
  const char* const mark = context ? static_cast<const char*>(context) : "";
  *static_cast<std::string*>(calls) += kName + (mark + std::to_string(event)) + " ";
  if (kName == 'a' && duringA) std::exchange(duringA, nullptr)(document);
  return 77;
}

const ArbEventCallback kCallbacks[] = {callback<'a'>, callback<'b'>, callback<'c'>, callback<'d'>};

// Registers (+) and unregisters (-) callbacks, as in "+a+b-a".
void change(ArbDocument* document, const std::string& steps) {
  for (std::size_t i = 0; i < steps.size(); i += 2) {
    const ArbEventCallback function = kCallbacks[steps[i + 1] - 'a'];
    ok(steps[i] == '+' ? ArbDocumentRegisterCallback(document, function, nullptr)
                       : ArbDocumentUnregisterCallback(document, function));
  }
}

std::string raise(ArbDocument* document, std::uint32_t event) {
  std::string calls;
  ArbDocumentDoCallback(document, event, &calls);
  return calls;
}

TEST(Callbacks, UnregistrationClearsTheFirstSlotOfTheFunctionOnly) {
  Host host;
  char first[] = "-first-";
  char second[] = "-second-";
  ok(ArbDocumentRegisterCallback(host.document, kCallbacks[0], first));
  ok(ArbDocumentRegisterCallback(host.document, kCallbacks[0], second));
  EXPECT_EQ("a-first-1 a-second-1 ", raise(host.document, 1));
  change(host.document, "-a");
  EXPECT_EQ(ARB_ERR_NOTFOUND, ArbDocumentUnregisterCallback(host.document, kCallbacks[1]));
  EXPECT_EQ("a-second-1 ", raise(host.document, 1));
}

TEST(Callbacks, TheTableGrowsByOneReusesFreeSlotsAndEndsWithTheLastFunction) {
  Host host;
  for (int life = 0; life < 2; ++life) {
    EXPECT_EQ(ARB_ERR_NOTFOUND, ArbDocumentUnregisterCallback(host.document, kCallbacks[0]));
    change(host.document, "+a+b+c-b+d");
    EXPECT_EQ(3u, host.document->callbackCount);
    EXPECT_EQ("a1 d1 c1 ", raise(host.document, 1));
    change(host.document, "-a-c-d");
    EXPECT_EQ(0u, host.document->callbackCount);
    EXPECT_EQ(nullptr, host.document->callbacks);
  }
}

TEST(Callbacks, TheTableIsReadAgainAfterEveryCall) {
  struct Row {
    const char* name;
    const char* duringA;
    const char* sameEvent;
    const char* nextEvent;
  };
  for (const Row& row : {Row{"a new last slot is called", "+d", "a1 b1 c1 d1 ", "a2 b2 c2 d2 "},
                         Row{"a later slot cleared is not called", "-b", "a1 c1 ", "a2 c2 "},
                         Row{"a later slot reused is called", "-b+d", "a1 d1 c1 ", "a2 d2 c2 "},
                         Row{"a slot that clears itself", "-a", "a1 b1 c1 ", "b2 c2 "},
                         Row{"an earlier slot reused is not called", "-a+d", "a1 b1 c1 ", "d2 b2 c2 "},
                         Row{"an emptied table ends the round", "-c-b-a", "a1 ", ""},
                         Row{"a table emptied and started again", "-c-b-a+d", "a1 ", "d2 "}}) {
    SCOPED_TRACE(row.name);
    Host host;
    change(host.document, "+a+b+c");
    duringA = [&](ArbDocument* document) { change(document, row.duringA); };
    EXPECT_EQ(row.sameEvent, raise(host.document, 1));
    EXPECT_EQ(row.nextEvent, raise(host.document, 2));
  }
}

TEST(Callbacks, AnEventMayBeRaisedDuringAnEvent) {
  Host host;
  change(host.document, "+a+b");
  duringA = [](ArbDocument* document) { EXPECT_EQ("a7 b7 ", raise(document, 7)); };
  EXPECT_EQ("a1 b1 ", raise(host.document, 1));
  EXPECT_FALSE(duringA);
}

}  // namespace
}  // namespace arbtree::test
