// Searches by element id while the producer works, and which parts of an id count. Which candidates a search looks at,
// and what stops it, is part of the random calls (tests/tree/random_test.cpp).
#include <gtest/gtest.h>

#include <string>

#include "support/host.h"

namespace arbtree::test {
namespace {

using Search = ArbStatus(ARB_CALL*)(ArbNode*, std::uint32_t, ArbNode**);

std::string find(Host& host, Search search, ArbNode* from, std::uint32_t id) {
  ArbNode* result = untouchedNode();
  const ArbStatus status = search(from, id, &result);
  EXPECT_EQ(status, search(from, id, nullptr));
  return std::to_string(status) + " " + (result == untouchedNode() ? "-" : host.events.nameOf(result));
}

TEST(ElementIdSearch, ComparesWholeIds) {
  Host host;
  ArbNode* const root = rootOf(host.makeTree());
  ArbNode* const other = host.append(root, "other", elementId(2, kTestNamespace, 3));
  host.append(root, "plain", elementId(2));
  ok(ArbNodeProducerDone(root));
  for (const Search search :
       {ArbNodeGetFirstChildByElementId, ArbNodeQueryFirstChildByElementId, ArbNodeWaitFirstChildByElementId}) {
    EXPECT_EQ("0 plain", find(host, search, root, elementId(2)));
    EXPECT_EQ("0 other", find(host, search, root, elementId(2, kTestNamespace, 3)));
    EXPECT_EQ("0 -", find(host, search, root, elementId(2, kTestNamespace + 1)));
    EXPECT_EQ("0 -", find(host, search, root, 2)) << "the local part alone";
  }
  EXPECT_EQ("0 plain", find(host, ArbNodeGetNextSiblingByElementId, other, elementId(2)));
}

TEST(ElementIdSearch, AWaitFindsWhatIsMadeDuringIt) {
  Host host;
  ArbNode* const root = rootOf(host.makeTree());
  ArbNode* const first = host.append(root, "first", elementId(1));
  host.stepsPerRun = 1;
  host.endResult = 13;
  host.then([&] { return host.append(root, "f", elementId(1)), ARB_OK; });
  host.then([&] { return host.append(root, "g", elementId(5)), ARB_OK; });
  host.then([] { return kPause; });
  EXPECT_EQ("145 -", find(host, ArbNodeQueryFirstChildByElementId, root, elementId(5)));
  EXPECT_EQ("0 g", find(host, ArbNodeWaitFirstChildByElementId, root, elementId(5)));
  EXPECT_EQ(2u, host.runs.size());
  EXPECT_EQ("0 f", find(host, ArbNodeWaitNextSiblingByElementId, first, elementId(1)));
  EXPECT_EQ(2u, host.runs.size());
  EXPECT_EQ("13 -", find(host, ArbNodeWaitFirstChildByElementId, root, elementId(6)));
  EXPECT_EQ("0 g", find(host, ArbNodeWaitFirstChildByElementId, root, elementId(5)));
}

}  // namespace
}  // namespace arbtree::test
