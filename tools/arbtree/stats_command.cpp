// `arbtree stats`: what an input consists of, and what it took to stream it.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

#include "commands.h"
#include "element_kinds.h"
#include "json_string.h"
#include "member_name.h"
#include "node_links.h"
#include "peak_memory.h"
#include "session.h"

namespace arbtree::tool {
namespace {

// Counts nodes, and walks the trees among the members to do so.
struct Counting {
  InputDocument& document;
  std::uint64_t nodes[4] = {};  // by NodeSort
  std::uint64_t open = 0;       // all of them but the one entered last are elements
  std::uint64_t mostDepth = 0;  // of elements

  bool enter(const ArbNode& node) {
    const NodeSort sort = sortOf(node);
    ++nodes[static_cast<int>(sort)];
    ++open;
    if (sort == NodeSort::element) mostDepth = std::max(mostDepth, open);
    return true;
  }
  void leave(const ArbNode&) { --open; }

  bool enter(ArbForestChild& child) {
    return child.kind != ARB_CHILD_TREE || document.walkNodes(asTree(&child), *this);
  }
  void leave(ArbForest&) {}

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

void print(Session& session, const StatsOptions& options, const Counting& counts) {
  MemberProducer& producer = session.document.producer();
  const Production production = producer.production();
  const Line lines[] = {
      {"archives", "archives", production.archives},
      {"XML documents", "documents", production.documents},
      {"other files", "files", production.files},
      {"bytes unpacked", "bytesUnpacked", producer.budget().bytes()},
      {"elements", "elements", counts.count(NodeSort::element)},
      {"different element names", "elementNames", ElementKinds::instance().elementNameCount()},
      {"attributes", "attributes", production.attributes},
      {"text nodes", "textNodes", counts.count(NodeSort::text)},
      {"comments", "comments", counts.count(NodeSort::comment)},
      {"processing instructions", "processingInstructions", counts.count(NodeSort::instruction)},
      {"depth of elements", "depth", counts.mostDepth},
      {"runs of the producer", "runs", production.runs},
      {"most nodes alive at once", "mostLiveNodes", session.document.mostLiveNodes()},
      {"peak memory in bytes", "peakMemoryBytes", peakMemory()},
  };
  if (options.json) {
    printJson(session.out, shown(options.common.file), session.problems.status() == 0, lines, std::size(lines));
  } else {
    printText(session.out, lines, std::size(lines));
  }
}

}  // namespace

int runStats(const StatsOptions& options) {
  Wishes wishes;
  wishes.checksFiles = true;
  wishes.nodes.values = false;
  Session session(options.common, std::move(wishes), false);
  Counting counts{session.document};
  session.document.walkMembers(counts);
  print(session, options, counts);
  return session.finish();
}

}  // namespace arbtree::tool
