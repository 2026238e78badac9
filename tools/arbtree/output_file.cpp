// Writing the buffer out.
#include "output_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

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

int finishOutput(OutputFile& out) {
  out.flush();
  if (out.isGood()) return 0;
  if (out.error() != EPIPE) std::fprintf(stderr, "arbtree: standard output: %s\n", std::strerror(out.error()));
  return 1;
}

}  // namespace arbtree::tool
