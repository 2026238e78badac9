// A call of every function but ArbDocumentDestroy, each on the same small content, with its answer during a run.
#ifndef ARBTREE_TESTS_SUPPORT_EVERY_FUNCTION_H
#define ARBTREE_TESTS_SUPPORT_EVERY_FUNCTION_H

#include <functional>
#include <utility>
#include <vector>

#include "support/host.h"

namespace arbtree::test {

constexpr std::uint32_t kTrigger = elementId(7);

// root forest: tree, finished tree, nested(empty), loose objects beside them;
// tree: root(a(b) text bytes reference open trigger): a and all below it complete, `open` and the root open.
struct Content {
  explicit Content(std::uint32_t mode);
  ~Content();

  // Runs the producer, which builds all this, calls `middle`, completes the trigger's attributes and finishes.
  void run(const std::function<void()>& middle);
  // Gives back what no row has used up, releases everything, and destroys the document.
  void clear();

  // What a row has made is put where it goes with the document; what it has used up is null.
  ArbStatus keep(ArbStatus status, ArbNode*& made) {
    return status == ARB_OK ? ArbNodeAppendChild(open, std::exchange(made, nullptr)) : status;
  }
  template <typename Child>
  ArbStatus keep(ArbStatus status, Child*& made) {
    return status == ARB_OK ? ArbForestAppendChild(nested, asChild(std::exchange(made, nullptr))) : status;
  }

  Host host;
  ArbDocument *document = nullptr, *madeDocument = nullptr;
  ArbTree *tree = nullptr, *finished = nullptr, *looseTree = nullptr, *madeTree = nullptr;
  ArbNode *root = nullptr, *a = nullptr, *b = nullptr, *text = nullptr, *bytes = nullptr, *reference = nullptr;
  ArbNode *open = nullptr, *trigger = nullptr, *loose = nullptr, *node = nullptr, *madeNode = nullptr;
  ArbForest *nested = nullptr, *looseForest = nullptr, *madeForest = nullptr;
  ArbFile *file = nullptr, *madeFile = nullptr;
  ArbForestChild* child = nullptr;
  ArbString *name = nullptr, *string = nullptr;
  ArbNodeRef *floating = nullptr, *cell = nullptr;
  ArbSavedHooks *saved = nullptr, *madeHooks = nullptr;
  ArbInterfaceFunction slot = nullptr;
  std::uint32_t number = 0;

 private:
  void build();
  void finish();
};

struct FunctionCall {
  const char* function;
  std::uint32_t expected;
  std::function<std::uint32_t(Content&)> call;
  std::uint32_t mode = 0;
  std::function<std::uint32_t(Content&)> withNull = nullptr;  // the call with null as its first argument
};

const std::vector<FunctionCall>& everyFunction();

}  // namespace arbtree::test

#endif
