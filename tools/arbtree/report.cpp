// One line for each message, on standard error.
#include "report.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>

namespace arbtree::tool {
namespace {

void print(const std::string& file, const Place& place, const std::string& text) {
  std::fprintf(stderr, "arbtree: %s:%" PRIu64 ":%" PRIu64 ": %s\n", file.c_str(), place.line, place.column,
               text.c_str());
}

}  // namespace

int reportInput(const InputFile& input, const XmlProducer& producer) {
  if (const auto& failure = producer.failure()) {
    print(input.displayName(), failure->place, failure->reason);
    return 1;
  }
  const OmittedEntities& omitted = producer.omitted();
  if (omitted.count != 0) {
    print(input.displayName(), omitted.firstPlace,
          "warning: entity \"" + omitted.firstName + "\" is not declared in the document itself and was left out (" +
              std::to_string(omitted.count) + " such references in all)");
  }
  return 0;
}

int finishOutput(OutputFile& out) {
  out.flush();
  if (out.isGood()) return 0;
  if (out.error() != EPIPE) std::fprintf(stderr, "arbtree: standard output: %s\n", std::strerror(out.error()));
  return 1;
}

}  // namespace arbtree::tool
