// `arbtree text`: the text of XML documents.
#include <utf8.h>

#include <iterator>
#include <string>

#include "child_info.h"
#include "commands.h"
#include "element_kinds.h"
#include "run_command.h"

namespace arbtree::tool {
namespace {

// The text of a document ends with a line end, which is added where it has none of its own.
struct TextWriting : ChildVisitor {
  TextWriting(const TextOptions& options, OutputFile& output) : wanted(options.member), out(output) {}

  bool enterChild(ArbForestChild& child) {
    found |= child.kind == ARB_CHILD_TREE && (wanted.empty() || displayPath(child) == wanted);
    return out.isGood();
  }
  void leaveChild(ArbForestChild& child) {
    if (child.kind == ARB_CHILD_TREE && last != '\n') out.append('\n');
    last = '\n';
  }
  bool enter(const ArbNode& node) {
    if (sortOf(node) != NodeSort::text) return true;
    const auto& text = reinterpret_cast<const ArbTextNode&>(node);
    bytes.clear();
    utf8::unchecked::utf16to8(text.text, text.text + text.textLength, std::back_inserter(bytes));
    out.append(bytes);
    if (!bytes.empty()) last = bytes.back();
    return out.isGood();
  }

  const std::string& wanted;
  OutputFile& out;
  std::string bytes;
  char last = '\n';
  bool found = false;
};

}  // namespace

int runText(const TextOptions& options) {
  Wanted wanted;
  wanted.member = options.member;
  return runCommand(
      options.common, wanted, true,
      [&](ContentDocument&, OutputFile& out, Report&) { return TextWriting(options, out); },
      [&](const TextWriting& writing, ContentDocument&, OutputFile&, Report& report) {
        if (writing.found || options.member.empty()) return;
        report.failure(options.member, std::nullopt, "there is no such XML document", kFailure);
      });
}

}  // namespace arbtree::tool
