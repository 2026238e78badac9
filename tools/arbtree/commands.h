// The commands of the tool. Each takes what the command line said and answers the exit status: 0 when all went well, 1
// when the input or the output failed, 3 when a limit was reached, 130 when it was interrupted.
#ifndef ARBTREE_TOOL_COMMANDS_H
#define ARBTREE_TOOL_COMMANDS_H

#include <cstdint>
#include <string>

#include "content_document.h"

namespace arbtree::tool {

struct StatsOptions {
  CommonOptions common;
  bool json = false;
};

struct XmlOptions {
  CommonOptions common;
  std::string member;  // the shown path of one; empty for an input that is itself XML
};

struct TextOptions {
  CommonOptions common;
  std::string member;  // empty for all
};

struct ListOptions {
  CommonOptions common;
  enum class Form { plain, indented, json, withDetails } form = Form::plain;
};

struct FindOptions {
  CommonOptions common;
  std::string element;        // empty for any
  std::string id;             // likewise
  std::string attributeName;  // likewise
  std::string attributeValue;
  std::uint64_t limit = UINT64_MAX;
};

struct ExtractOptions {
  CommonOptions common;
  std::string directory;
  std::string pattern;  // of shown paths, with * and ?; empty for all
  bool keepArchives = false;
  bool foldNames = false;
};

struct DuplicatesOptions {
  CommonOptions common;
  std::string element;
};

int runStats(const StatsOptions& options);
int runXml(const XmlOptions& options);
int runText(const TextOptions& options);
int runList(const ListOptions& options);
int runFind(const FindOptions& options);
int runExtract(const ExtractOptions& options);
int runDuplicates(const DuplicatesOptions& options);

}  // namespace arbtree::tool

#endif
