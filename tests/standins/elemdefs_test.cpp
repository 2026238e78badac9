// elemdefs: which namespaces can be registered and found, and that only live contexts are served.
#include "arbtree/elemdefs.h"

#include <gtest/gtest.h>

#include <set>

#include "support/threads.h"

namespace {

std::uint32_t ARB_CALL makeNothing(ArbTree*, std::uint32_t, ArbNode**) { return ARB_OK; }
std::uint32_t ARB_CALL makeNothingElse(ArbTree*, std::uint32_t, ArbNode**) { return ARB_OK; }
std::uint32_t ARB_CALL destroyNothing(ArbNode*) { return ARB_OK; }

// A context, and namespaces that are taken back at the end.
class ElemDefs : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(ElemDefsCreate(&context), ARB_OK); }
  void TearDown() override {
    for (const std::uint32_t number : registered) EXPECT_EQ(ElemDefsUnregisterNamespace(number), ARB_OK);
    EXPECT_EQ(ElemDefsDestroy(context), ARB_OK);
  }
  void add(std::uint32_t number, std::uint32_t elementCount) {
    ASSERT_EQ(ElemDefsRegisterNamespace(number, makeNothing, destroyNothing, elementCount), ARB_OK);
    registered.insert(number);
  }

  ElemDefsHandle context = nullptr;
  ArbNodeFactory factory = nullptr;
  ArbNodeDestroyer destroyer = nullptr;
  std::uint32_t count = 77;
  std::set<std::uint32_t> registered;
};

TEST_F(ElemDefs, RefusesWhatCannotBeRegistered) {
  add(7, 1);
  const std::pair<std::uint32_t, std::uint32_t> cases[] = {
      {2, ARB_ERR_NAMESPACE},         {4096, ELEMDEFS_ERR_NUMBER},
      {0x10008, ELEMDEFS_ERR_NUMBER}, {0xFFFFFFFF, ELEMDEFS_ERR_NUMBER},
      {7, ELEMDEFS_ERR_DUPLICATE},
  };
  for (const auto& [number, status] : cases) {
    EXPECT_EQ(ElemDefsRegisterNamespace(number, makeNothingElse, destroyNothing, 9), status) << number;
  }
  EXPECT_EQ(ElemDefsRegisterNamespace(8, nullptr, destroyNothing, 9), ARB_ERR_BADARG);
  EXPECT_EQ(ElemDefsRegisterNamespace(8, makeNothing, nullptr, 9), ARB_ERR_BADARG);
  EXPECT_EQ(ElemDefsGetNodeFactory(context, 8, &factory, &destroyer), ELEMDEFS_ERR_UNKNOWN_NAMESPACE);
  EXPECT_EQ(ElemDefsGetNodeFactory(context, 7, &factory, &destroyer), ARB_OK);
  EXPECT_EQ(factory, makeNothing) << "a refused duplicate must not replace the first registration";
}

TEST_F(ElemDefs, FindsByTheLow16Bits) {
  add(0, 10);
  add(5, 11);
  add(4095, 12);
  struct Case {
    std::uint32_t number, status, count;
  };
  const std::uint32_t unknown = ELEMDEFS_ERR_UNKNOWN_NAMESPACE;
  const Case cases[] = {
      {0, ARB_OK, 10},          {5, ARB_OK, 11},       {4095, ARB_OK, 12},     {0x10005, ARB_OK, 11},
      {0xFFFF0000, ARB_OK, 10}, {2, unknown, 77},      {0x10002, unknown, 77}, {6, unknown, 77},
      {4096, unknown, 77},      {0x1005, unknown, 77}, {0xFFFF, unknown, 77},  {0xFFFFFFFF, unknown, 77},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.number);
    count = 77;
    EXPECT_EQ(ElemDefsGetElementCount(context, c.number, &count), c.status);
    EXPECT_EQ(count, c.count);
    factory = makeNothingElse;
    destroyer = nullptr;
    EXPECT_EQ(ElemDefsGetNodeFactory(context, c.number, &factory, &destroyer), c.status);
    EXPECT_EQ(factory, c.status == ARB_OK ? makeNothing : makeNothingElse);
    EXPECT_EQ(destroyer, c.status == ARB_OK ? destroyNothing : nullptr);
  }
}

TEST_F(ElemDefs, UnregisteringFreesTheNumber) {
  add(9, 1);
  ASSERT_EQ(ElemDefsUnregisterNamespace(9), ARB_OK);
  for (const std::uint32_t number : {9u, 2u, 4096u, 0x10009u}) {
    EXPECT_EQ(ElemDefsUnregisterNamespace(number), ELEMDEFS_ERR_UNKNOWN_NAMESPACE) << number;
  }
  EXPECT_EQ(ElemDefsGetElementCount(context, 9, &count), ELEMDEFS_ERR_UNKNOWN_NAMESPACE);
  add(9, 2);
  EXPECT_EQ(ElemDefsGetElementCount(context, 9, &count), ARB_OK);
  EXPECT_EQ(count, 2u);
}

TEST_F(ElemDefs, NullOutParameters) {
  add(9, 1);
  EXPECT_EQ(ElemDefsCreate(nullptr), ARB_ERR_BADARG);
  EXPECT_EQ(ElemDefsGetNodeFactory(context, 9, nullptr, &destroyer), ARB_ERR_BADARG);
  EXPECT_EQ(ElemDefsGetNodeFactory(context, 9, &factory, nullptr), ARB_ERR_BADARG);
  EXPECT_EQ(ElemDefsGetElementCount(context, 9, nullptr), ARB_ERR_BADARG);
  EXPECT_EQ(factory, nullptr);
  EXPECT_EQ(destroyer, nullptr);
}

// Also after many others.
TEST_F(ElemDefs, ServesOnlyLiveContexts) {
  add(9, 1);
  ElemDefsHandle stale = nullptr;
  ASSERT_EQ(ElemDefsCreate(&stale), ARB_OK);
  ASSERT_NE(stale, context);
  ASSERT_EQ(ElemDefsDestroy(stale), ARB_OK);
  for (int i = 0; i < 70000; ++i) {
    ElemDefsHandle next = nullptr;
    ASSERT_EQ(ElemDefsCreate(&next), ARB_OK);
    ASSERT_NE(next, stale);
    ASSERT_NE(next, context);
    ASSERT_EQ(ElemDefsDestroy(next), ARB_OK);
  }
  int local = 0;
  const auto live = reinterpret_cast<std::uintptr_t>(context);
  // On 64-bit platforms: the live number below other high bits.
  const std::uintptr_t high = sizeof live > 4 ? live | std::uintptr_t{1} << (sizeof live * 8 - 1) : 0;
  for (const std::uintptr_t bad : {std::uintptr_t{0}, std::uintptr_t{1}, UINTPTR_MAX, high,
                                   reinterpret_cast<std::uintptr_t>(stale), reinterpret_cast<std::uintptr_t>(&local)}) {
    SCOPED_TRACE(bad);
    const auto invented = reinterpret_cast<ElemDefsHandle>(bad);
    EXPECT_EQ(ElemDefsGetNodeFactory(invented, 9, &factory, &destroyer), ELEMDEFS_ERR_CONTEXT);
    EXPECT_EQ(ElemDefsGetElementCount(invented, 9, &count), ELEMDEFS_ERR_CONTEXT);
    EXPECT_EQ(ElemDefsDestroy(invented), ELEMDEFS_ERR_CONTEXT);
    EXPECT_EQ(factory, nullptr);
    EXPECT_EQ(count, 77u);
  }
}

TEST(ElemDefsOfThreads, DoNotDisturbEachOther) {
  arbtree::test::onFourThreads(2000, [](std::uint32_t t, std::uint32_t) {
    ElemDefsHandle own = nullptr;
    std::uint32_t count = 0;
    return ElemDefsCreate(&own) == ARB_OK &&
           ElemDefsRegisterNamespace(100 + t, makeNothing, destroyNothing, t) == ARB_OK &&
           ElemDefsGetElementCount(own, 100 + t, &count) == ARB_OK && count == t &&
           ElemDefsUnregisterNamespace(100 + t) == ARB_OK && ElemDefsDestroy(own) == ARB_OK;
  });
}

}  // namespace
