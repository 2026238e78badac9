// What the tests tell the stand-ins of the closed libraries, in one place.
#ifndef ARBTREE_TESTS_SUPPORT_STANDINS_H
#define ARBTREE_TESTS_SUPPORT_STANDINS_H

#include <cstdint>
#include <vector>

#include "arbtree/baseutil.h"
#include "arbtree/elemdefs.h"
#include "arbtree/rtcore.h"
#include "arbtree/srcaccess.h"

namespace arbtree::test {

// Once this has run, elemdefs knows kTestNamespace and kManyNamespaceCount namespaces from kManyNamespaces on.
constexpr std::uint32_t kManyNamespaces = 3000;
constexpr std::uint32_t kManyNamespaceCount = 40;
void registerTestNamespaces();

// An exception code that rtcore translates to this status.
std::uint32_t codeTranslatedTo(std::uint32_t status);

// A source with an input and an output path; null for a path that it does not have.
class Source {
 public:
  Source(const char16_t* inputPath, const char16_t* outputPath);
  ~Source();
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  std::uint32_t handle() const { return handle_; }

 private:
  std::uint32_t handle_ = 0;
};

// Answers the status callback while it lives, and keeps the status context of every call. Abandoning is left to
// baseutil (see bailOutOf).
class StatusAnswer {
 public:
  explicit StatusAnswer(std::uint32_t answer);
  ~StatusAnswer();
  StatusAnswer(const StatusAnswer&) = delete;
  StatusAnswer& operator=(const StatusAnswer&) = delete;
  void set(std::uint32_t answer) { answer_ = answer; }
  const std::vector<std::uint32_t>& contexts() const { return contexts_; }

 private:
  static std::uint32_t ARB_CALL onStatus(std::uint32_t statusContext, void* self);
  std::uint32_t answer_;
  std::vector<std::uint32_t> contexts_;
};

}  // namespace arbtree::test

#endif
