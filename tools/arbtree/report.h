// The messages at the end of a command, and the exit status that they amount to.
#ifndef ARBTREE_TOOL_REPORT_H
#define ARBTREE_TOOL_REPORT_H

#include "input_file.h"
#include "output_file.h"
#include "xml_producer.h"

namespace arbtree::tool {

// Prints the failure of an input, "arbtree: FILE:LINE:COLUMN: reason", if there was one, or else a warning of the same
// form about entities that were left out. The answer is the exit status: 1 for a failure.
int reportInput(const InputFile& input, const XmlProducer& producer);

// Writes out what is still buffered. The answer is 1 when the output failed, with a message unless the failure is only
// that the reader of a pipe has gone away.
int finishOutput(OutputFile& out);

}  // namespace arbtree::tool

#endif
