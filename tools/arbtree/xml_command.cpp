// `arbtree xml`: writes a document out again.
#include "commands.h"
#include "output_file.h"
#include "progress.h"
#include "report.h"
#include "xml_writer.h"

namespace arbtree::tool {
namespace {

// Ends the walk as soon as the output fails.
struct Copying {
  XmlWriter writer;
  const OutputFile& out;

  bool enter(const ArbNode& node) {
    writer.enter(node);
    return out.isGood();
  }
  void leave(const ArbNode& node) { writer.leave(node); }
};

}  // namespace

int runXml(const XmlOptions& options) {
  InputFile input(options.common.file);
  Progress progress(progressIsWanted(options.common.quiet, true), input.size());
  XmlDocument document(input, options.common.limits, progress);
  OutputFile out;
  Copying copying{XmlWriter(out), out};
  document.walk(copying);
  const int outputStatus = finishOutput(out);
  progress.clear();
  if (outputStatus != 0) return outputStatus;
  return reportInput(input, document.producer());
}

}  // namespace arbtree::tool
