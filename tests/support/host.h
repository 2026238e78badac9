// A host under test: one document, a scripted producer behind its context record, and a recorder.
//
// The script is a list of steps. A run executes steps in order until one answers something other than ARB_OK, or
// `stepsPerRun` steps are done; after the last step the run answers `endResult`. So a script can be stopped after every
// step, with any result. The producer finds its Host through a handle, as hosts with 64-bit pointers do.
//
// Whoever includes this has GoogleTest as well.
#ifndef ARBTREE_TESTS_SUPPORT_HOST_H
#define ARBTREE_TESTS_SUPPORT_HOST_H

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "arbtree/arbtree.h"
#include "document/document.h"
#include "support/elements.h"
#include "support/ok.h"
#include "support/recorder.h"

namespace arbtree::test {

// A step's answer that ends the run with 0.
constexpr ArbStatus kPause = 0xFFFFFFF0u;

class Host {
 public:
  using Step = std::function<ArbStatus()>;

  explicit Host(std::uint32_t mode = 0, std::uint32_t source = 0, const char16_t* nameTemplate = u"doc");
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  ArbDocument* document = nullptr;
  ArbHostContext context{};
  std::uint32_t stepsPerRun = 0;  // 0: no limit
  ArbStatus endResult = ARB_STATUS_END;
  Lines runs;  // "start" or "continue" for every run
  Recorder events;

  Host& then(Step step);

  // The one that the document was made with.
  std::uint32_t statusContext() const { return 0x5700 + handle_; }

  // Registers the recorder for events; `kinds` makes factory and destroyer of the test namespace write to it as well.
  void record(bool kinds = false);

  // Production ends without a step.
  void end() { EXPECT_EQ(ARB_STATUS_END, ArbDocumentReadAhead(document)); }

  // A tree in the root forest or in `parent`, with the test namespace registered; the root node is named "root".
  ArbTree* makeTree(ArbForest* parent = nullptr, const char16_t* nameTemplate = u"tree");
  // A forest in `parent` unless that is null.
  ArbForest* makeForest(ArbForest* parent, const char16_t* nameTemplate = u"f");
  // A file in no forest.
  ArbFile* makeFile(const char16_t* nameTemplate, std::uint16_t formatId = 7);
  ArbString* makeString(const std::u16string& text);
  ArbNode* make(ArbTree* tree, const std::string& name, std::uint32_t id = elementId(1), ArbNodeRef* cell = nullptr);
  ArbNode* append(ArbNode* parent, const std::string& name, std::uint32_t id = elementId(1));
  // A child named "t" with a value.
  ArbNode* appendText(ArbNode* parent, const std::u16string& value, std::uint32_t id = ARB_ELEM_TEXT);

  // Destroys the document before the Host goes.
  void destroy();

  // "name(child child(...))" of a subtree, its links checked in both directions.
  std::string shape(const ArbNode* node) const;

 private:
  static std::uint32_t ARB_CALL startEntry(std::uint32_t handle, std::uint32_t argument2, std::uint32_t argument3);
  static std::uint32_t ARB_CALL continueEntry(std::uint32_t handle, std::uint32_t argument2, std::uint32_t argument3);
  ArbStatus run(const char* entry, std::uint32_t argument2, std::uint32_t argument3);

  std::uint32_t handle_;
  std::vector<Step> steps_;
  std::size_t nextStep_ = 0;
};

ArbNode* resolve(const ArbNodeRef* cell);
ArbNode* rootOf(ArbTree* tree);
ArbForestChild* asChild(void* forestFileOrTree);

// Nearly every test begins with a tree.
class TreeTest : public testing::Test {
 protected:
  explicit TreeTest(std::uint32_t mode = 0) : host(mode) {}
  Host host;
  ArbTree* const tree = host.makeTree();
  ArbNode* const root = rootOf(tree);
};

// A result variable that no call has written yet holds this.
ArbNode* untouchedNode();

}  // namespace arbtree::test

#endif
