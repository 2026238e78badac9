// Where expat can be stopped, to be resumed later.
//
// Releases of expat differ: some that were stopped in an entity that another one refers to come to its end, once they
// are resumed, and then go on behind the outer one: the rest of that is lost without a word. With those a parser is
// stopped only outside entities, so that what one reference stands for comes in one chunk, which has to be bounded.
#ifndef ARBTREE_TOOL_EXPAT_STOPS_H
#define ARBTREE_TOOL_EXPAT_STOPS_H

#include <expat.h>

namespace arbtree::tool {

// Asked in a handler: whether a parser that is stopped at this event loses nothing when it is resumed.
bool canStopHere(XML_Parser parser);

}  // namespace arbtree::tool

#endif
