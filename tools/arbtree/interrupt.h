// An interrupt from the terminal, or a request to end, makes reading the input fail, so that everything is taken down
// in good order: no temporary file stays behind. The process then ends by the signal.
#ifndef ARBTREE_TOOL_INTERRUPT_H
#define ARBTREE_TOOL_INTERRUPT_H

namespace arbtree::tool {

void catchInterrupts();
bool isInterrupted();
// Ends the process by the signal that interrupted it, if one did.
void endIfInterrupted();

}  // namespace arbtree::tool

#endif
