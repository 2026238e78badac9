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

MadeNodes::MadeNodes(ArbDocument* document) {
  const auto note = [](ArbDocument*, std::uint32_t event, void* node, void* nodes) -> std::uint32_t {
    if (event == ARB_EVENT_NODE_CREATED && node) {
      static_cast<std::vector<ArbNode*>*>(nodes)->push_back(static_cast<ArbNode*>(node));
    }
    return 0;
  };
  ArbDocumentRegisterCallback(document, note, &nodes_);
}

std::vector<ArbNode*> MadeNodes::takeUnlinked() {
  std::vector<ArbNode*> made = std::exchange(nodes_, {});
  std::erase_if(made, [](const ArbNode* node) { return (node->flags & ARB_NODE_LINKED) != 0; });
  return made;
}

}  // namespace arbtree::test
