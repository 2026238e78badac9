// `arbtree find`: where elements are.
#include <algorithm>
#include <string>

#include "child_info.h"
#include "commands.h"
#include "element_kinds.h"
#include "element_node.h"
#include "run_command.h"
#include "utf.h"

namespace arbtree::tool {
namespace {

struct Finding : ChildVisitor {
  Finding(const FindOptions& wanted, OutputFile& output)
      : options(wanted), value(toUtf16(wanted.attributeValue)), out(output) {}

  bool enterChild(ArbForestChild& child) {
    if (child.kind == ARB_CHILD_TREE) path = displayPath(child);
    return out.isGood();
  }
  bool enter(const ArbNode& node) {
    if (sortOf(node) != NodeSort::element || !isWanted(node)) return true;
    out.append(path + ':' + std::to_string(asElement(node).byteOffset) + '\n');
    return ++found < options.limit && out.isGood();
  }

  // Only the element that was referred to by the ID has it as its ID string.
  bool isWanted(const ArbNode& node) const {
    return (options.element.empty() || kindOf(node).name == options.element) && (options.id.empty() || node.idString) &&
           hasAttribute(node);
  }

  bool hasAttribute(const ArbNode& node) const {
    if (options.attributeName.empty()) return true;
    const ElementNode& element = asElement(node);
    const auto entries = element.attributes();
    return std::any_of(entries.begin(), entries.end(), [&](const AttributeEntry& entry) {
      return kindOf(node).attributes[entry.index]->text == options.attributeName && element.value(entry) == value;
    });
  }

  const FindOptions& options;
  const std::u16string value;
  OutputFile& out;
  std::string path;
  std::uint64_t found = 0;
};

}  // namespace

int runFind(const FindOptions& options) {
  Wanted wanted;
  wanted.details.offsets = true;
  wanted.details.id = options.id;
  return runCommand(
      options.common, wanted, true, [&](ContentDocument&, OutputFile& out, Report&) { return Finding(options, out); },
      [](const Finding&, ContentDocument&, OutputFile&, Report&) {});
}

}  // namespace arbtree::tool
