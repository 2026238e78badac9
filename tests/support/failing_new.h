// Has the n-th operator new of this thread fail, in the test program and in the shared libraries of the stand-ins. That
// reaches into shared libraries on ELF platforms only.
#ifndef ARBTREE_TESTS_SUPPORT_FAILING_NEW_H
#define ARBTREE_TESTS_SUPPORT_FAILING_NEW_H

namespace arbtree::test {

class FailingNew {
 public:
  explicit FailingNew(int n);  // n counts from 1
  ~FailingNew();
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
  bool fired() const;
};

}  // namespace arbtree::test

#endif
