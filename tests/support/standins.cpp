#include "support/standins.h"

#include <gtest/gtest.h>

#include "support/elements.h"
#include "support/ok.h"

namespace arbtree::test {

void registerTestNamespaces() {
  static const bool done = [] {
    ok(ElemDefsRegisterNamespace(kTestNamespace, makeElement, destroyElement, 16));
    for (std::uint32_t i = 0; i < kManyNamespaceCount; ++i) {
      ok(ElemDefsRegisterNamespace(kManyNamespaces + i, makeElement, destroyElement, i));
    }
    return true;
  }();
  EXPECT_TRUE(done);
}

std::uint32_t codeTranslatedTo(std::uint32_t status) {
  const std::uint32_t code = 0xC0000000u + status;
  ok(RtSetTranslation(code, status));
  return code;
}

Source::Source(const char16_t* inputPath, const char16_t* outputPath) { ok(SrcOpen(inputPath, outputPath, &handle_)); }

Source::~Source() { ok(SrcClose(handle_)); }

StatusAnswer::StatusAnswer(std::uint32_t answer) : answer_(answer) {
  const BaseHostFunctions functions{onStatus, nullptr, this};
  BaseSetDefaultHostFunctions(&functions);
}

StatusAnswer::~StatusAnswer() { BaseSetDefaultHostFunctions(nullptr); }

std::uint32_t ARB_CALL StatusAnswer::onStatus(std::uint32_t statusContext, void* self) {
  auto& answer = *static_cast<StatusAnswer*>(self);
  answer.contexts_.push_back(statusContext);
  return answer.answer_;
}

}  // namespace arbtree::test
