// baseutil: which host functions are asked, and which of them a bail-out reaches.
#include <gtest/gtest.h>

#include <csetjmp>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "arbtree/baseutil.h"
#include "support/bail_out.h"
#include "support/threads.h"

namespace {

// A host that answers a fixed value and notes for which contexts it was asked and bailed out.
using Contexts = std::vector<std::uint32_t>;
struct Host {
  std::uint32_t answer = 0;
  Contexts asked{}, bailed{};
  std::optional<std::uint32_t> nested{};  // a status context to work with before answering

  BaseHostFunctions functions() { return {status, bailOut, this}; }

  static std::uint32_t ARB_CALL status(std::uint32_t statusContext, void* data) {
    Host& host = *static_cast<Host*>(data);
    host.asked.push_back(statusContext);
    if (host.nested) BaseStatusCallback(*host.nested, 0, 0);
    return host.answer;
  }
  static void ARB_CALL bailOut(std::uint32_t code, std::uint32_t statusContext, void* data) {
    EXPECT_EQ(code, 20u);
    static_cast<Host*>(data)->bailed.push_back(statusContext);
  }
};

// Sets functions and takes them back at the end.
class BaseUtilHost : public ::testing::Test {
 protected:
  void TearDown() override {
    for (const std::uint32_t context : contexts) EXPECT_EQ(BaseSetHostFunctions(context, nullptr), ARB_OK);
    BaseSetDefaultHostFunctions(nullptr);
  }
  void set(std::uint32_t context, const BaseHostFunctions& functions) {
    ASSERT_EQ(BaseSetHostFunctions(context, &functions), ARB_OK);
    contexts.insert(context);
  }
  static void setDefault(Host& host) {
    const BaseHostFunctions functions = host.functions();
    BaseSetDefaultHostFunctions(&functions);
  }
  std::set<std::uint32_t> contexts;
};

// What BaseBailOut raised, or nothing.
std::optional<std::uint32_t> thrownByBailOut() {
  return arbtree::test::bailOutOf([] { BaseBailOut(20, 0, 0); });
}

TEST_F(BaseUtilHost, WithoutFunctionsGoesOnAndBailsOutByException) {
  EXPECT_EQ(BaseStatusCallback(0, 0, 0), 0u);
  EXPECT_EQ(BaseStatusCallback(5, 0, 0), 0u);
  EXPECT_EQ(thrownByBailOut(), 20u);
  EXPECT_EQ(BaseSetHostFunctions(5, nullptr), ARB_ERR_NOTFOUND);
}

TEST_F(BaseUtilHost, AsksTheContextsOwnFunctionsBeforeTheDefault) {
  Host own{20}, zero{32}, fallback{7};
  set(5, zero.functions());
  set(5, own.functions());  // the last ones count
  set(0, zero.functions());
  setDefault(fallback);
  EXPECT_EQ(BaseStatusCallback(5, 0, 0), 20u);
  EXPECT_EQ(BaseStatusCallback(0, 0, 0), 32u);
  EXPECT_EQ(BaseStatusCallback(6, 0, 0), 7u);
  EXPECT_EQ(BaseSetHostFunctions(5, nullptr), ARB_OK);
  contexts.erase(5);
  EXPECT_EQ(BaseStatusCallback(5, 0, 0), 7u) << "taken back: the default again";
  EXPECT_EQ(own.asked, Contexts{5});
  EXPECT_EQ(zero.asked, Contexts{0});
  EXPECT_EQ(fallback.asked, (Contexts{6, 5}));
}

TEST_F(BaseUtilHost, NullMembersHaveTheirMeaning) {
  Host host{20};
  set(1, {nullptr, Host::bailOut, &host});
  set(2, {Host::status, nullptr, &host});
  EXPECT_EQ(BaseStatusCallback(1, 0, 0), 0u);
  EXPECT_FALSE(thrownByBailOut());
  EXPECT_EQ(BaseStatusCallback(2, 0, 0), 20u);
  EXPECT_EQ(thrownByBailOut(), 20u);
  EXPECT_EQ(host.bailed, Contexts{1}) << "the other context's function must not be called";
}

TEST_F(BaseUtilHost, BailOutReachesTheContextThatAnsweredLast) {
  Host outer, inner, fallback;
  set(1, outer.functions());
  set(2, inner.functions());
  setDefault(fallback);

  BaseStatusCallback(1, 0, 0);
  BaseStatusCallback(2, 0, 0);
  BaseBailOut(20, 0, 0);
  EXPECT_EQ(inner.bailed, Contexts{2});
  EXPECT_EQ(outer.bailed, Contexts{});

  outer.nested = 2;  // the outer host runs another document before it answers
  BaseStatusCallback(1, 0, 0);
  BaseBailOut(20, 0, 0);
  BaseStatusCallback(3, 0, 0);
  BaseBailOut(20, 0, 0);
  EXPECT_EQ(outer.bailed, Contexts{1});
  EXPECT_EQ(inner.bailed, Contexts{2});
  EXPECT_EQ(fallback.bailed, Contexts{3});
}

TEST_F(BaseUtilHost, AThreadThatNeverAskedUsesTheDefault) {
  Host zero, fallback;
  set(0, zero.functions());
  BaseStatusCallback(0, 0, 0);  // what this thread asked is nothing to another
  std::optional<std::uint32_t> thrown;
  std::thread([&thrown] { thrown = thrownByBailOut(); }).join();
  EXPECT_EQ(thrown, 20u);
  setDefault(fallback);
  std::thread([] { BaseBailOut(20, 0, 0); }).join();
  EXPECT_EQ(fallback.bailed, Contexts{0});
  EXPECT_EQ(zero.bailed, Contexts{});
}

std::jmp_buf escape;
void ARB_CALL leaveByLongjmp(std::uint32_t, std::uint32_t, void*) { std::longjmp(escape, 1); }

TEST_F(BaseUtilHost, BailOutMayLeaveByLongjmp) {
  set(1, {nullptr, leaveByLongjmp, nullptr});
  for (int i = 0; i < 3; ++i) {
    BaseStatusCallback(1, 0, 0);
    if (setjmp(escape) == 0) {
      BaseBailOut(20, 0, 0);
      FAIL() << "returned";
    }
  }
  Host host;
  set(2, host.functions());  // no lock was left behind
  EXPECT_EQ(BaseStatusCallback(2, 0, 0), 0u);
}

TEST_F(BaseUtilHost, ThreadsDoNotDisturbEachOther) {
  arbtree::test::onFourThreads(2000, [](std::uint32_t t, std::uint32_t) {
    Host host{t};
    const BaseHostFunctions functions = host.functions();
    const bool served = BaseSetHostFunctions(t, &functions) == ARB_OK && BaseStatusCallback(t, 0, 0) == t;
    BaseBailOut(20, 0, 0);
    return served && host.bailed == Contexts{t} && BaseSetHostFunctions(t, nullptr) == ARB_OK;
  });
}

}  // namespace
