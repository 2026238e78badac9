// One line for each message.
#include "problems.h"

#include <algorithm>
#include <cstdio>

#include "member_name.h"

namespace arbtree::tool {
namespace {

std::string inWords(const Place& place) {
  return ":" + std::to_string(place.line) + ":" + std::to_string(place.column);
}

}  // namespace

void Problems::member(const std::string& path, const std::string& reason, int status) {
  status_ = std::max(status_, status);
  print(path, "", reason);
}

void Problems::xml(const std::string& path, const Failure& failure) {
  status_ = std::max(status_, failure.isLimit ? kLimitPassed : kInputFailed);
  print(path, inWords(failure.place), failure.reason);
}

void Problems::warning(const std::string& path, const Place& place, const std::string& text) {
  print(path, inWords(place), "warning: " + text);
}

void Problems::print(const std::string& path, const std::string& place, const std::string& text) {
  progress_.clear();
  const std::string where = path.empty() ? "" : ": " + shown(path);
  std::fprintf(stderr, "arbtree: %s%s%s: %s\n", shown(input_.displayName()).c_str(), where.c_str(), place.c_str(),
               text.c_str());
}

}  // namespace arbtree::tool
