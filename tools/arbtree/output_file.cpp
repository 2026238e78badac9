// Writing the buffer out.
#include "output_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "interrupt.h"

namespace arbtree::tool {

// An interrupt ends the output where it is: nobody may be reading any more, and a write would wait for ever.
void OutputFile::flush() {
  const char* next = buffer_;
  const char* const end = buffer_ + used_;
  while (next != end && error_ == 0) {
    const ssize_t count = write(STDOUT_FILENO, next, static_cast<std::size_t>(end - next));
    if (count >= 0) next += count;
    if (count < 0 && errno != EINTR) error_ = errno;
    if (isInterrupted()) error_ = EINTR;
  }
  used_ = 0;
}

int finishOutput(OutputFile& out) {
  out.flush();
  if (out.isGood()) return 0;
  if (out.error() != EPIPE && out.error() != EINTR)
    std::fprintf(stderr, "arbtree: standard output: %s\n", std::strerror(out.error()));
  return 1;
}

}  // namespace arbtree::tool
