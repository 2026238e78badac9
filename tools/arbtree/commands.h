// The commands of the tool. Each takes what the command line said and answers the exit status: 0 when all went well, 1
// when the input or the output failed.
#ifndef ARBTREE_TOOL_COMMANDS_H
#define ARBTREE_TOOL_COMMANDS_H

#include <string>

#include "xml_document.h"

namespace arbtree::tool {

struct CommonOptions {
  std::string file;
  DocumentLimits limits;
  bool quiet = false;  // no progress bar
};

struct StatsOptions {
  CommonOptions common;
  bool json = false;
};

struct XmlOptions {
  CommonOptions common;
};

int runStats(const StatsOptions& options);
int runXml(const XmlOptions& options);

}  // namespace arbtree::tool

#endif
