// Writing the buffer out.
#include "output_file.h"

#include <unistd.h>

#include <cerrno>

namespace arbtree::tool {

void OutputFile::flush() {
  const char* next = buffer_;
  const char* const end = buffer_ + used_;
  while (next != end && error_ == 0) {
    const ssize_t count = write(STDOUT_FILENO, next, static_cast<std::size_t>(end - next));
    if (count >= 0) {
      next += count;
    } else if (errno != EINTR) {
      error_ = errno;
    }
  }
  used_ = 0;
}

}  // namespace arbtree::tool
