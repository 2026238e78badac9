// Expat takes the second half of a UTF-16 surrogate pair on trust. This check does not: it looks at the bytes of UTF-16
// input before expat does, and stops in front of a unit that is not the half it ought to be.
#ifndef ARBTREE_TOOL_SURROGATE_CHECK_H
#define ARBTREE_TOOL_SURROGATE_CHECK_H

#include <cstddef>
#include <string_view>

namespace arbtree::tool {

class SurrogateCheck {
 public:
  // How many of the next bytes of the input may go on. Fewer than all when an unpaired surrogate follows them;
  // nothing may be checked after that.
  std::size_t accept(std::string_view bytes);

 private:
  enum class Form { unknown, other, bigEndian, littleEndian };

  void recognise(unsigned char second);
  bool completeUnit(unsigned char second);

  Form form_ = Form::unknown;
  bool haveFirst_ = false;  // first byte of a unit seen, its second byte not yet
  bool needTrail_ = false;  // the last unit was the first half of a pair
  unsigned char first_ = 0;
};

}  // namespace arbtree::tool

#endif
