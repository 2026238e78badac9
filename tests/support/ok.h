// A call that has to answer ARB_OK, as one short statement wherever a statement may stand.
#ifndef ARBTREE_TESTS_SUPPORT_OK_H
#define ARBTREE_TESTS_SUPPORT_OK_H

#include <gtest/gtest.h>

#include "arbtree/arbtree.h"

namespace arbtree::test {

// The failure is reported at the line of the call.
inline void ok(ArbStatus status, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (status != ARB_OK) ADD_FAILURE_AT(file, line) << "the call answers " << status;
}

}  // namespace arbtree::test

#endif
