// `arbtree stats`: what a document consists of, and what it took to stream it.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

#include "commands.h"
#include "element_kinds.h"
#include "json_string.h"
#include "output_file.h"
#include "peak_memory.h"
#include "progress.h"
#include "report.h"

namespace arbtree::tool {
namespace {

struct Counting {
  std::uint64_t nodes[4] = {};  // by NodeSort
  std::uint64_t depth = 0;      // of open elements
  std::uint64_t mostDepth = 0;

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

void print(OutputFile& out, const StatsOptions& options, const Counting& counts, const XmlDocument& document) {
  const XmlProducer& producer = document.producer();
  const Line lines[] = {
      {"elements", "elements", counts.count(NodeSort::element)},
      {"different element names", "elementNames", ElementKinds::instance().elementNameCount()},
      {"attributes", "attributes", producer.attributesMade()},
      {"text nodes", "textNodes", counts.count(NodeSort::text)},
      {"comments", "comments", counts.count(NodeSort::comment)},
      {"processing instructions", "processingInstructions", counts.count(NodeSort::instruction)},
      {"depth of elements", "depth", counts.mostDepth},
      {"runs of the producer", "runs", producer.runs()},
      {"most nodes alive at once", "mostLiveNodes", document.mostLiveNodes()},
      {"peak memory in bytes", "peakMemoryBytes", peakMemory()},
  };
  if (options.json) {
    printJson(out, options.common.file, !producer.failure(), lines, std::size(lines));
  } else {
    printText(out, lines, std::size(lines));
  }
}

}  // namespace

int runStats(const StatsOptions& options) {
  InputFile input(options.common.file);
  Progress progress(progressIsWanted(options.common.quiet, false), input.size());
  XmlDocument document(input, options.common.limits, progress);
  Counting counts;
  document.walk(counts);
  progress.clear();
  OutputFile out;
  print(out, options, counts, document);
  const int outputStatus = finishOutput(out);
  return std::max(outputStatus, reportInput(input, document.producer()));
}

}  // namespace arbtree::tool
