// `arbtree stats`: what an input consists of, and what it took to stream it.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>

#include "commands.h"
#include "element_kinds.h"
#include "json_string.h"
#include "peak_memory.h"
#include "run_command.h"

namespace arbtree::tool {
namespace {

struct Counting : ChildVisitor {
  std::uint64_t children[4] = {};  // by kind
  std::uint64_t nodes[4] = {};     // by NodeSort
  std::uint64_t depth = 0;         // of open elements
  std::uint64_t mostDepth = 0;

  bool enterChild(ArbForestChild& child) {
    ++children[child.kind];
    return true;
  }
  bool enter(const ArbNode& node) {
    const NodeSort sort = sortOf(node);
    ++nodes[static_cast<int>(sort)];
    if (sort == NodeSort::element) mostDepth = std::max(mostDepth, ++depth);
    return true;
  }
  void leave(const ArbNode& node) { depth -= sortOf(node) == NodeSort::element; }

  std::uint64_t count(NodeSort sort) const { return nodes[static_cast<int>(sort)]; }
};

struct Line {
  const char* label;
  const char* key;
  std::uint64_t value;
};

void printText(OutputFile& out, const Line* lines, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    char text[96];
    std::snprintf(text, sizeof text, "%-26s%14llu\n", lines[i].label, static_cast<unsigned long long>(lines[i].value));
    out.append(text);
  }
}

void printJson(OutputFile& out, const std::string& file, bool complete, const Line* lines, std::size_t count) {
  out.append("{\"file\": " + jsonString(file) + ", \"complete\": " + (complete ? "true" : "false"));
  for (std::size_t i = 0; i < count; ++i) {
    out.append(std::string(", \"") + lines[i].key + "\": " + std::to_string(lines[i].value));
  }
  out.append("}\n");
}

void print(OutputFile& out, const StatsOptions& options, const Counting& counts, ContentDocument& document,
           bool complete) {
  const ProducerCounts made = document.producer().counts();
  const Line lines[] = {
      {"XML documents", "xmlDocuments", counts.children[ARB_CHILD_TREE]},
      {"archives in the archive", "archives", counts.children[ARB_CHILD_FOREST]},
      {"other files", "files", counts.children[ARB_CHILD_FILE]},
      {"elements", "elements", counts.count(NodeSort::element)},
      {"different element names", "elementNames", ElementKinds::instance().elementNameCount()},
      {"attributes", "attributes", made.attributes},
      {"text nodes", "textNodes", counts.count(NodeSort::text)},
      {"comments", "comments", counts.count(NodeSort::comment)},
      {"processing instructions", "processingInstructions", counts.count(NodeSort::instruction)},
      {"depth of elements", "depth", counts.mostDepth},
      {"runs of the producer", "runs", made.runs},
      {"most nodes alive at once", "mostLiveNodes", document.mostLiveNodes()},
      {"peak memory in bytes", "peakMemoryBytes", peakMemory()},
  };
  if (options.json) {
    printJson(out, options.common.file, complete, lines, std::size(lines));
  } else {
    printText(out, lines, std::size(lines));
  }
}

}  // namespace

int runStats(const StatsOptions& options) {
  Wanted wanted;
  wanted.details.values = false;
  return runCommand(
      options.common, wanted, false, [](ContentDocument&, OutputFile&, Report&) { return Counting(); },
      [&](const Counting& counts, ContentDocument& document, OutputFile& out, const Report& report) {
        print(out, options, counts, document, report.status() == 0);
      });
}

}  // namespace arbtree::tool
