// `arbtree ls`: every child document of an input, one line each, printed as it is met.
#include <cstdio>
#include <ctime>
#include <string>

#include "child_info.h"
#include "commands.h"
#include "json_string.h"
#include "run_command.h"

namespace arbtree::tool {
namespace {

const char* kindOfChild(ArbForestChild& child) {
  if (child.kind == ARB_CHILD_FOREST) return "archive";
  if (child.kind == ARB_CHILD_TREE) return "xml";
  switch (memberTypeOf(child)) {
    case MemberType::directory:
      return "dir";
    case MemberType::symbolicLink:
      return "link";
    case MemberType::hardLink:
      return "hardlink";
    case MemberType::other:
      return "special";
    default:
      return "file";
  }
}

std::string timeText(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm parts = {};
  char text[40];
  if (!gmtime_r(&time, &parts) || std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts) == 0) return "-";
  return text;
}

std::string modeText(std::uint32_t mode) {
  char text[16];
  std::snprintf(text, sizeof text, "%04o", mode);
  return text;
}

struct Listing : ChildVisitor {
  Listing(ListOptions::Form shown, OutputFile& output) : form(shown), out(output) {}

  bool enterChild(ArbForestChild& child) {
    if (form == ListOptions::Form::indented) {
      out.append(std::string(2 * nesting, ' ') + displayName(memberName(child)) + '\n');
    } else if (form == ListOptions::Form::json) {
      printJson(child);
    } else if (form == ListOptions::Form::withDetails) {
      printDetails(child);
    } else {
      out.append(displayPath(child) + '\n');
    }
    nesting += child.kind == ARB_CHILD_FOREST;
    return out.isGood();
  }
  void leaveChild(ArbForestChild& child) { nesting -= child.kind == ARB_CHILD_FOREST; }

  void printDetails(ArbForestChild& child) {
    const auto size = memberSize(child);
    const auto modified = memberModified(child);
    char text[80];
    std::snprintf(text, sizeof text, "%-8s %s %14s %20s ", kindOfChild(child), modeText(memberMode(child)).c_str(),
                  size ? std::to_string(*size).c_str() : "-", modified ? timeText(*modified).c_str() : "-");
    const std::string link = memberLink(child);
    out.append(text + displayPath(child) + (link.empty() ? "" : " -> " + displayName(link)) + '\n');
  }

  void printJson(ArbForestChild& child) {
    const auto size = memberSize(child);
    const auto modified = memberModified(child);
    const std::string link = memberLink(child);
    std::string line = std::string("{\"kind\": \"") + kindOfChild(child) +
                       "\", \"path\": " + jsonString(displayPath(child)) + ", \"mode\": \"" +
                       modeText(memberMode(child)) + '"';
    if (size) line += ", \"size\": " + std::to_string(*size);
    if (modified) line += ", \"modified\": \"" + timeText(*modified) + '"';
    if (!link.empty()) line += ", \"link\": " + jsonString(displayName(link));
    out.append(line + "}\n");
  }

  const ListOptions::Form form;
  OutputFile& out;
  std::size_t nesting = 0;
};

}  // namespace

int runList(const ListOptions& options) {
  Wanted wanted;
  wanted.xml = false;
  wanted.plainIsXml = false;
  return runCommand(
      options.common, wanted, true,
      [&](ContentDocument&, OutputFile& out, Report&) { return Listing(options.form, out); },
      [](const Listing&, ContentDocument&, OutputFile&, Report&) {});
}

}  // namespace arbtree::tool
