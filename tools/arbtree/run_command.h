// What every command does around its walk.
#ifndef ARBTREE_TOOL_RUN_COMMAND_H
#define ARBTREE_TOOL_RUN_COMMAND_H

#include <algorithm>

#include "content_document.h"
#include "interrupt.h"
#include "output_file.h"
#include "report.h"

namespace arbtree::tool {

// Walks the input with a visitor, which is made for the document by `makeVisitor(document, out)`; then has `finish` say
// what remains to be said. The answer is the exit status.
template <typename MakeVisitor, typename Finish>
int runCommand(const CommonOptions& options, const Wanted& wanted, bool writesContent, MakeVisitor makeVisitor,
               Finish finish) {
  noteInterrupts();
  InputFile input(options.file);
  Progress progress(progressIsWanted(options.quiet, writesContent), input.size());
  Report report(input, progress);
  OutputFile out;
  ContentDocument document(input, options, wanted, report, progress);
  auto visitor = makeVisitor(document, out, report);
  document.walk(visitor);
  progress.clear();
  finish(visitor, document, out, report);
  const int outputStatus = finishOutput(out);
  // Where the output has failed the rest of the input was never looked at.
  return outputStatus != 0 ? outputStatus : report.status();
}

}  // namespace arbtree::tool

#endif
