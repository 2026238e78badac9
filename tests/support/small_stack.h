// Runs a function on a thread whose stack is too small for anything that grows with the content.
#ifndef ARBTREE_TESTS_SUPPORT_SMALL_STACK_H
#define ARBTREE_TESTS_SUPPORT_SMALL_STACK_H

#include <functional>

namespace arbtree::test {

void onSmallStack(const std::function<void()>& work);

}  // namespace arbtree::test

#endif
