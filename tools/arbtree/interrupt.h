// Being asked to stop: the signals of an interrupt and of termination only leave a note, which long work looks at, so
// that it can take away what it has not finished.
#ifndef ARBTREE_TOOL_INTERRUPT_H
#define ARBTREE_TOOL_INTERRUPT_H

namespace arbtree::tool {

void noteInterrupts();
bool isInterrupted();

}  // namespace arbtree::tool

#endif
