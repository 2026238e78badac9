#include "support/memory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace arbtree::bench {
namespace {

// A line of the process's memory accounts ("VmRSS:", "VmHWM:"), in bytes.
double account(const char* name) {
  std::FILE* const status = std::fopen("/proc/self/status", "r");
  if (!status) return 0;
  char line[256];
  double kilobytes = 0;
  while (std::fgets(line, sizeof line, status)) {
    if (std::strncmp(line, name, std::strlen(name)) == 0) std::sscanf(line + std::strlen(name), "%lf", &kilobytes);
  }
  std::fclose(status);
  return kilobytes * 1024;
}

void resetHighest() {
  if (std::FILE* const file = std::fopen("/proc/self/clear_refs", "w")) {
    std::fputs("5", file);
    std::fclose(file);
  }
}

void emptyHeap() {
#ifdef __GLIBC__
  mallopt(M_TRIM_THRESHOLD, -1);
  malloc_trim(0);
#endif
}

}  // namespace

Memory::Memory() {
  emptyHeap();
  resetHighest();
  before_ = account("VmRSS:");
}

double Memory::peak() const { return std::max(0.0, account("VmHWM:") - before_); }

}  // namespace arbtree::bench
