// rtcore: what exception codes translate to.
#include "arbtree/rtcore.h"

#include <gtest/gtest.h>

#include "support/threads.h"

namespace {

TEST(RtCore, TranslatesByDefaultAndAsSet) {
  struct Case {
    std::uint32_t code;
    std::uint32_t byDefault;
    std::uint32_t set;
  };
  // A translation may be any status, those that leave a document healthy included.
  const Case cases[] = {
      {RT_CODE_NOMEMORY, ARB_ERR_NOMEMORY, 99},      {RT_CODE_CPP_EXCEPTION, RT_STATUS_EXCEPTION, ARB_OK},
      {0, RT_STATUS_EXCEPTION, ARB_STATUS_BREAK},    {1, RT_STATUS_EXCEPTION, ARB_STATUS_END},
      {0xFFFFFFFF, RT_STATUS_EXCEPTION, 0xFFFFFFFF},
  };
  for (const Case& c : cases) EXPECT_EQ(RtTranslateException(c.code), c.byDefault) << c.code;
  for (const Case& c : cases) EXPECT_EQ(RtSetTranslation(c.code, 1234), ARB_OK);
  for (const Case& c : cases) EXPECT_EQ(RtSetTranslation(c.code, c.set), ARB_OK) << "set again: the last one counts";
  for (const Case& c : cases) EXPECT_EQ(RtTranslateException(c.code), c.set) << c.code;
  EXPECT_EQ(RtTranslateException(2), RT_STATUS_EXCEPTION);
  for (const Case& c : cases) {
    EXPECT_EQ(RtRemoveTranslation(c.code), ARB_OK) << c.code;
    EXPECT_EQ(RtTranslateException(c.code), c.byDefault) << c.code;
    EXPECT_EQ(RtRemoveTranslation(c.code), ARB_ERR_NOTFOUND) << c.code;
  }
}

TEST(RtCore, ThreadsDoNotDisturbEachOther) {
  arbtree::test::onFourThreads(2000, [](std::uint32_t t, std::uint32_t round) {
    return RtSetTranslation(t, round) == ARB_OK && RtTranslateException(t) == round &&
           RtTranslateException(1000) == RT_STATUS_EXCEPTION && RtRemoveTranslation(t) == ARB_OK;
  });
}

}  // namespace
