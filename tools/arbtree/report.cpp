#include "report.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace arbtree::tool {

void Report::failure(const std::string& member, const std::optional<Place>& place, const std::string& reason,
                     int status) {
  print(member, place, reason);
  status_ = std::max(status_, status);
}

void Report::warning(const std::string& member, const std::optional<Place>& place, const std::string& text) {
  print(member, place, "warning: " + text);
}

void Report::print(const std::string& member, const std::optional<Place>& place, const std::string& text) {
  progress_.clear();
  std::string line = "arbtree: " + input_.displayName();
  if (!member.empty()) line += ": " + member;
  if (place) line += ":" + std::to_string(place->line) + ":" + std::to_string(place->column);
  std::fprintf(stderr, "%s: %s\n", line.c_str(), text.c_str());
}

int finishOutput(OutputFile& out) {
  out.flush();
  if (out.isGood()) return 0;
  if (out.error() != EPIPE) std::fprintf(stderr, "arbtree: standard output: %s\n", std::strerror(out.error()));
  return kFailure;
}

}  // namespace arbtree::tool
