// `arbtree xml`: writes an XML document out again.
#include "child_info.h"
#include "commands.h"
#include "run_command.h"
#include "xml_writer.h"

namespace arbtree::tool {
namespace {

// Ends as soon as the output fails, and behind the document that was asked for.
struct Copying : ChildVisitor {
  Copying(const XmlOptions& options, OutputFile& output) : wanted(options.member), writer(output), out(output) {}

  bool enterChild(ArbForestChild& child) {
    if (done) return false;
    current = child.kind == ARB_CHILD_TREE && (wanted.empty() || displayPath(child) == wanted);
    // Without a member the document is the input itself, or the only member of a compressed file.
    if (wanted.empty() && child.kind == ARB_CHILD_FOREST) found = several = true;
    if (current && wanted.empty() && found) several = true;
    found |= current;
    return !several;
  }
  void leaveChild(ArbForestChild&) { done |= current && !wanted.empty(); }
  bool enter(const ArbNode& node) {
    writer.enter(node);
    return out.isGood();
  }
  void leave(const ArbNode& node) { writer.leave(node); }

  const std::string& wanted;
  XmlWriter writer;
  const OutputFile& out;
  bool current = false;
  bool found = false;
  bool several = false;
  bool done = false;
};

}  // namespace

int runXml(const XmlOptions& options) {
  Wanted wanted;
  wanted.member = options.member;
  return runCommand(
      options.common, wanted, true, [&](ContentDocument&, OutputFile& out, Report&) { return Copying(options, out); },
      [&](const Copying& copying, ContentDocument&, OutputFile&, Report& report) {
        if (copying.several) {
          report.failure("", std::nullopt, "the input holds more than one document; --member PATH says which",
                         kFailure);
        } else if (!copying.found) {
          report.failure(options.member, std::nullopt, "there is no such XML document", kFailure);
        }
      });
}

}  // namespace arbtree::tool
