// What every command holds while it works: the input, what is reported about it, its document, and the output.
#ifndef ARBTREE_TOOL_SESSION_H
#define ARBTREE_TOOL_SESSION_H

#include <algorithm>
#include <utility>

#include "commands.h"
#include "input_document.h"
#include "input_file.h"
#include "output_file.h"
#include "problems.h"
#include "progress.h"

namespace arbtree::tool {

struct Session {
  // `writesContent`: the output is long, so that no bar goes between its lines on a terminal.
  Session(const CommonOptions& options, Wishes wanted, bool writesContent)
      : wishes(std::move(wanted)),
        input(options.file),
        progress(progressIsWanted(options.quiet, writesContent), input.size()),
        problems(input, progress),
        document(input, options.limits, wishes, progress, problems) {}

  // The exit status, once everything is written. A failed output counts before what is wrong with the input.
  int finish() {
    progress.clear();
    return std::max(finishOutput(out), problems.status());
  }

  const Wishes wishes;
  InputFile input;
  Progress progress;
  Problems problems;
  InputDocument document;
  OutputFile out;
};

// Wishes for the XML member with this path, as shown, or for all when it is empty. Only the archives on the way to it
// are opened.
Wishes wishesForMember(const std::string& member);
// Tells that there is none, unless it is empty or a failure has been told that may be the cause.
void reportMissing(Session& session, const std::string& member);

}  // namespace arbtree::tool

#endif
