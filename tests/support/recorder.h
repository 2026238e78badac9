// One list in which a test finds everything that the library called, in order: events, hooks, factories, destroyers and
// whatever else the test adds. Nodes appear under the names that the test gave them, else as #number.
#ifndef ARBTREE_TESTS_SUPPORT_RECORDER_H
#define ARBTREE_TESTS_SUPPORT_RECORDER_H

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "arbtree/arbtree.h"

namespace arbtree::test {

using Lines = std::vector<std::string>;

// The parts one behind the other.
inline std::string joined(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

class Recorder {
 public:
  void setName(std::uint32_t number, const std::string& name) { names_[number] = name; }
  std::string nameOf(const ArbNode* node) const;
  void add(const std::string& line) { lines_.push_back(line); }
  void addEvent(std::uint32_t event, const ArbNode* node);

  // What was recorded since the last call.
  Lines take();

  // An event callback whose context is a Recorder.
  static std::uint32_t ARB_CALL onEvent(ArbDocument* document, std::uint32_t event, void* argument, void* context);

 private:
  std::map<std::uint32_t, std::string> names_;
  Lines lines_;
};

// While it lives, has `work` done with each node that a document makes, in the event that announces it. REQUIRES: the
// document lives longer and has no other of these.
class WhenMade {
 public:
  WhenMade(ArbDocument* document, std::function<void(ArbNode*)> work);
  ~WhenMade();
  WhenMade(const WhenMade&) = delete;
  WhenMade& operator=(const WhenMade&) = delete;

 private:
  static std::uint32_t ARB_CALL onEvent(ArbDocument* document, std::uint32_t event, void* node, void* self);
  ArbDocument* document_;
  std::function<void(ArbNode*)> work_;
};

// Notes the nodes that a document makes. REQUIRES: as WhenMade.
class MadeNodes {
 public:
  explicit MadeNodes(ArbDocument* document);
  // Those made since the last call that are in no list, in the order of their making. REQUIRES: none has been freed.
  std::vector<ArbNode*> takeUnlinked();

 private:
  std::vector<ArbNode*> nodes_;
  WhenMade whenMade_;
};

}  // namespace arbtree::test

#endif
