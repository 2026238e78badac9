// The commands of the tool. Each takes what the command line said and answers the exit status: 0 when all went well, 1
// when the input or the output failed or a member was refused, 2 when the request does not fit the input, 3 when a
// limit was passed.
#ifndef ARBTREE_TOOL_COMMANDS_H
#define ARBTREE_TOOL_COMMANDS_H

#include <cstdint>
#include <string>

#include "content_limits.h"

namespace arbtree::tool {

struct CommonOptions {
  std::string file;
  Limits limits;
  bool quiet = false;  // no progress bar
};

struct StatsOptions {
  CommonOptions common;
  bool json = false;
};

enum class ListForm { plain, tree, json, details };

struct LsOptions {
  CommonOptions common;
  ListForm form = ListForm::plain;
};

// For text and xml: all XML members, or one by its path as ls shows it.
struct ContentOptions {
  CommonOptions common;
  std::string member;
};

struct FindOptions {
  CommonOptions common;
  std::string element;
  std::string id;         // "" for any
  std::string attribute;  // "" or NAME=VALUE
  std::uint64_t limit = UINT64_MAX;
  bool json = false;
};

struct DupsOptions {
  CommonOptions common;
  std::string element;
  bool json = false;
};

struct ExtractOptions {
  CommonOptions common;
  std::string folder;
  std::string pattern;  // "" for all
  bool keepArchives = false;
  bool refuseAliases = false;  // names that differ only by case or normal form
};

int runStats(const StatsOptions& options);
int runLs(const LsOptions& options);
int runText(const ContentOptions& options);
int runXml(const ContentOptions& options);
int runFind(const FindOptions& options);
int runDups(const DupsOptions& options);
int runExtract(const ExtractOptions& options);

}  // namespace arbtree::tool

#endif
