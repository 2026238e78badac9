// What a producer raises and what a bail-out jumps over, across the borders of modules: these tests use the public
// interface alone, and are run against the shared library as well.
#include <gtest/gtest.h>

#include <csetjmp>
#include <csignal>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "arbtree/arbtree.h"
#include "arbtree/baseutil.h"
#include "arbtree/rtcore.h"

#ifdef _WIN32
#include <float.h>
#include <windows.h>
#else
#include <pthread.h>
#endif

namespace {

using Raise = void (*)();

// A document whose every run appends a text to the root and then raises something.
class Raiser {
 public:
  explicit Raiser(Raise raise, bool catches = true) : raise_(raise) {
    context_.startEntry = catches ? RtProducer<start> : start;
    context_.continueEntry = catches ? RtProducer<continueOn> : continueOn;
    raisers().push_back(this);
    context_.producerArg1 = static_cast<std::uint32_t>(raisers().size() - 1);
    EXPECT_EQ(ARB_OK, ArbDocumentCreate(0, &context_, u"doc", context_.producerArg1, 0, &document));
    EXPECT_EQ(ARB_OK, ArbDocumentCreateTree(document, u"tree", &tree));
    EXPECT_EQ(ARB_OK, ArbTreeQueryRootNode(tree, &root));
  }
  ~Raiser() {
    BaseSetHostFunctions(context_.producerArg1, nullptr);  // if there are any
    EXPECT_EQ(ARB_OK, ArbTreeDestroy(tree));
    EXPECT_EQ(ARB_OK, ArbDocumentDestroy(document));
  }
  Raiser(const Raiser&) = delete;
  Raiser& operator=(const Raiser&) = delete;

  // The bail-out that is asked for after each of its runs; baseutil's own for null.
  void abandonWith(BaseBailOutFunction bailOut) const {
    const BaseHostFunctions functions{[](std::uint32_t, void*) -> std::uint32_t { return 20; }, bailOut, nullptr};
    EXPECT_EQ(ARB_OK, BaseSetHostFunctions(context_.producerArg1, &functions));
  }

  // The texts that exist, walked as a consumer does, and whether a run is in progress.
  std::string state() const {
    std::string texts;
    ArbNode* node = nullptr;
    for (ArbNodeQueryFirstChild(root, &node); node;) {
      texts += 't';
      ArbNode* next = nullptr;
      ArbNodeQueryNextSibling(node, &next);
      node = next;
    }
    return texts + (head().flags & ARB_DOC_RUNNING ? " running" : "");
  }
  const ArbDocumentHead& head() const { return *reinterpret_cast<const ArbDocumentHead*>(document); }

  ArbDocument* document = nullptr;
  ArbTree* tree = nullptr;
  ArbNode* root = nullptr;
  std::string runs;  // a letter for every run

 private:
  static std::vector<Raiser*>& raisers() {
    static std::vector<Raiser*> all;
    return all;
  }
  static std::uint32_t ARB_CALL start(std::uint32_t self, std::uint32_t, std::uint32_t) {
    return raisers()[self]->run('s');
  }
  static std::uint32_t ARB_CALL continueOn(std::uint32_t self, std::uint32_t, std::uint32_t) {
    return raisers()[self]->run('c');
  }
  std::uint32_t run(char entry) {
    runs += entry;
    ArbNode* text = nullptr;
    EXPECT_EQ(ARB_OK, ArbTreeCreateNode(tree, ARB_ELEM_TEXT, nullptr, &text));
    EXPECT_EQ(ARB_OK, ArbNodeAppendChild(root, text));
    raise_();
    return runs.size() < 100 ? ARB_OK : ARB_STATUS_END;
  }

  Raise raise_;
  ArbHostContext context_{};
};

#ifdef _WIN32
void onHostsAbort(int) {}
#endif

// Two runs of a producer that raises a code, for every kind of status that the code may be translated to.
void expectTranslated(std::uint32_t code, Raise raise, bool catches = true) {
  struct Row {
    std::uint32_t translated, first, second;
    const char* runs;
    const char* state;
  };
  for (const Row& row : {Row{0, 0, 0, "sc", "tt"}, Row{ARB_STATUS_BREAK, 0, 0, "ss", "tt"},
                         Row{ARB_STATUS_END, 452, 452, "s", "t"}, Row{4321, 4321, 4321, "s", "t"}}) {
    SCOPED_TRACE(row.translated);
    ASSERT_EQ(ARB_OK, RtSetTranslation(code, row.translated));
    Raiser raiser(raise, catches);
#ifdef _WIN32
    std::signal(SIGABRT, onHostsAbort);
    const unsigned long chain = __readfsdword(0);
    const unsigned floatControl = _controlfp(0, 0);
#endif
    EXPECT_EQ(row.first, ArbDocumentReadAhead(raiser.document));
    EXPECT_EQ(row.second, ArbDocumentReadAhead(raiser.document));
#ifdef _WIN32
    EXPECT_EQ(chain, __readfsdword(0));
    EXPECT_EQ(onHostsAbort, std::signal(SIGABRT, SIG_DFL)) << "the host has its handler again";
    _controlfp(floatControl, _MCW_EM);  // what the producer has set remains set
#endif
    EXPECT_EQ(row.runs, raiser.runs);
    EXPECT_EQ(row.state, raiser.state());
    EXPECT_EQ(ARB_OK, RtRemoveTranslation(code));
  }
}

TEST(Guard, ACppProducerThatCatchesInItsOwnModule) {
  expectTranslated(0xE1234567, [] { throw RtCodedException{0xE1234567}; });
  expectTranslated(RT_CODE_NOMEMORY, [] { throw std::bad_alloc(); });
  expectTranslated(RT_CODE_CPP_EXCEPTION, [] { throw std::runtime_error("x"); });
  expectTranslated(RT_CODE_CPP_EXCEPTION, [] { throw 5; });
}

// Its code is that of any C++ exception where it cannot be looked at from another module.
TEST(Guard, ACppProducerThatCatchesNothing) {
  expectTranslated(
      RT_CODE_CPP_EXCEPTION, [] { throw std::runtime_error("x"); }, false);
#ifdef _WIN32
  expectTranslated(RT_CODE_CPP_EXCEPTION, std::abort, false);
#endif
}

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
// The forced unwinding of a cancelled thread is not the producer's doing and passes through the run. (The address
// sanitizer does not know of such unwinding and takes the frames that are left by it for ones in use.)
TEST(Guard, AThreadCancelledInItsRun) {
  Raiser cancelled([] {
    pthread_cancel(pthread_self());
    pthread_testcancel();
  });
  pthread_t thread;
  const auto readAhead = [](void* document) -> void* {
    ArbDocumentReadAhead(static_cast<ArbDocument*>(document));
    return nullptr;
  };
  ASSERT_EQ(0, pthread_create(&thread, nullptr, readAhead, cancelled.document));
  void* result = nullptr;
  ASSERT_EQ(0, pthread_join(thread, &result));
  EXPECT_EQ(PTHREAD_CANCELED, result);
  EXPECT_EQ("t", cancelled.state());
  EXPECT_EQ(ARB_OK, cancelled.head().producerError);
}
#endif

// ---------------------------------------------------------------------------------------------------------------------
// One document's wait inside the producer of another
// ---------------------------------------------------------------------------------------------------------------------

Raiser* inner = nullptr;
std::jmp_buf inOuterProducer;

void waitForInner() {
  std::uint32_t count = 0;
  ArbNodeWaitChildCount(inner->root, &count);
  FAIL() << "the bail-out has not left the wait";
}

TEST(Guard, ABailOutJumpsBackIntoTheProducerThatWaited) {
  Raiser nested([] {});
  inner = &nested;
  nested.abandonWith([](std::uint32_t, std::uint32_t, void*) { std::longjmp(inOuterProducer, 1); });
  Raiser outer([] {
    if (setjmp(inOuterProducer) == 0) waitForInner();
  });
  for (const char* const state : {"t", "tt"}) {
    EXPECT_EQ(ARB_OK, ArbDocumentReadAhead(outer.document));
    EXPECT_EQ(state, outer.state());
    EXPECT_EQ(state, nested.state());
  }
}

TEST(Guard, ABailOutByExceptionFailsTheProducerThatWaited) {
#ifdef _WIN32
  const std::uint32_t code = BASE_EXCEPTION_BAIL_OUT;
#else
  const std::uint32_t code = RT_CODE_CPP_EXCEPTION;
#endif
  Raiser nested([] {});
  inner = &nested;
  nested.abandonWith(nullptr);
  expectTranslated(code, waitForInner);
  EXPECT_EQ("tttttt", nested.state());
}

// ---------------------------------------------------------------------------------------------------------------------
// Structured exceptions
// ---------------------------------------------------------------------------------------------------------------------

#ifdef _WIN32

int* volatile nowhere = nullptr;
volatile int zero = 0;
volatile double floatZero = 0;
void (*volatile noFunction)() = nullptr;

template <DWORD Code, DWORD Flags = 0>
void raiseCode() {
  RaiseException(Code, Flags, 0, nullptr);
}

void leaveFloatsInTheMiddle() {
  _clearfp();
  _controlfp(0, _EM_ZERODIVIDE);
  asm volatile("fldpi\n\tfldpi\n\tfldpi\n\tfldpi\n\tfldpi\n\tfldpi");
  const volatile double quotient = 1.0 / floatZero;
  asm volatile("fwait" : : "m"(quotient));
}

__attribute__((noinline)) int fillStack(int depth) {
  volatile char page[4096];
  page[0] = static_cast<char>(depth);
  if (depth < zero) return 0;
  return fillStack(depth + 1) + page[0];
}

TEST(Guard, EveryStructuredExceptionIsAStatus) {
  struct Row {
    const char* name;
    std::uint32_t code;
    Raise raise;
  };
  const Row rows[] = {
      {"a write through null", 0xC0000005, [] { *nowhere = 1; }},
      {"a call of null", 0xC0000005, [] { noFunction(); }},
      {"a division by zero", 0xC0000094, [] { zero = 7 / zero; }},
      {"an illegal instruction", 0xC000001D, [] { asm volatile("ud2"); }},
      {"a breakpoint", 0x80000003, [] { asm volatile("int3"); }},
      {"a floating-point division by zero", 0xC000008E, leaveFloatsInTheMiddle},
      {"an overflow of the stack", 0xC00000FD, [] { zero = fillStack(0) * 0; }},
      {"a code of the host", 0xE0001234, raiseCode<0xE0001234>},
      {"one that cannot be continued", 0xE0001235, raiseCode<0xE0001235, EXCEPTION_NONCONTINUABLE>},
      {"a small code", 1, raiseCode<1>},
      {"a C++ exception of another compiler", 0xE06D7363, raiseCode<0xE06D7363>},
      {"a C++ exception's code", RT_CODE_CPP_EXCEPTION, raiseCode<RT_CODE_CPP_EXCEPTION>},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    expectTranslated(row.code, row.raise);
    EXPECT_EQ(0.25, 1.0 / (4.0 + floatZero)) << "floating point works again";
  }
}

// The outer document never learns that its run is over; but the thread goes on as if it had never been.
TEST(Guard, ALongjmpPastARunTakesItsFrameOffTheChain) {
  static std::jmp_buf outside;
  Raiser left([] { std::longjmp(outside, 1); });
  const unsigned long chain = __readfsdword(0);
  if (setjmp(outside) == 0) {
    ArbDocumentReadAhead(left.document);
    FAIL() << "returned";
  }
  EXPECT_EQ(chain, __readfsdword(0));
  EXPECT_EQ("t running", left.state());
  EXPECT_EQ(SIG_DFL, std::signal(SIGABRT, SIG_DFL)) << "and its handler of aborts away";
  expectTranslated(0xE0001237, raiseCode<0xE0001237>);
}

TEST(Guard, OnlyTheInnermostRunFails) {
  ASSERT_EQ(ARB_OK, RtSetTranslation(0xE0001236, 4322));
  Raiser nested(raiseCode<0xE0001236>);
  inner = &nested;
  Raiser outer([] { EXPECT_EQ(4322u, ArbDocumentReadAhead(inner->document)); });
  EXPECT_EQ(ARB_OK, ArbDocumentReadAhead(outer.document));
  EXPECT_EQ(ARB_OK, ArbDocumentReadAhead(outer.document));
  EXPECT_EQ("tt", outer.state());
  EXPECT_EQ("t", nested.state());
  EXPECT_EQ(ARB_OK, RtRemoveTranslation(0xE0001236));
}

#endif

}  // namespace
