#include "support/recorder.h"

#include <utility>

namespace arbtree::test {

std::string Recorder::nameOf(const ArbNode* node) const {
  if (!node) return "null";
  const auto found = names_.find(node->number);
  return found != names_.end() ? found->second : joined({"#", std::to_string(node->number)});
}

void Recorder::addEvent(std::uint32_t event, const ArbNode* node) {
  static const char* const kEvents[] = {"created",  "linked",           "in-tree",          "attributes",
                                        "children", "producer-release", "consumer-release", "freed"};
  const bool known = event >= ARB_EVENT_NODE_CREATED && event <= ARB_EVENT_NODE_FREED;
  add(joined({known ? kEvents[event - 1] : std::to_string(event), " ", nameOf(node)}));
}

Lines Recorder::take() { return std::exchange(lines_, {}); }

std::uint32_t ARB_CALL Recorder::onEvent(ArbDocument*, std::uint32_t event, void* argument, void* context) {
  static_cast<Recorder*>(context)->addEvent(event, static_cast<const ArbNode*>(argument));
  return 0;
}

WhenMade::WhenMade(ArbDocument* document, std::function<void(ArbNode*)> work)
    : document_(document), work_(std::move(work)) {
  ArbDocumentRegisterCallback(document, onEvent, this);
}

WhenMade::~WhenMade() { ArbDocumentUnregisterCallback(document_, onEvent); }

std::uint32_t ARB_CALL WhenMade::onEvent(ArbDocument*, std::uint32_t event, void* node, void* self) {
  if (event == ARB_EVENT_NODE_CREATED && node) static_cast<WhenMade*>(self)->work_(static_cast<ArbNode*>(node));
  return 0;
}

MadeNodes::MadeNodes(ArbDocument* document) : whenMade_(document, [this](ArbNode* node) { nodes_.push_back(node); }) {}

std::vector<ArbNode*> MadeNodes::takeUnlinked() {
  std::vector<ArbNode*> made = std::exchange(nodes_, {});
  std::erase_if(made, [](const ArbNode* node) { return (node->flags & ARB_NODE_LINKED) != 0; });
  return made;
}

}  // namespace arbtree::test
