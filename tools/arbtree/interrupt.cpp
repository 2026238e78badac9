#include "interrupt.h"

#include <csignal>

namespace arbtree::tool {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void note(int) { interrupted = 1; }

}  // namespace

// Without a restart, so that a read that waits ends.
void noteInterrupts() {
  struct sigaction action = {};
  action.sa_handler = note;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool isInterrupted() { return interrupted != 0; }

}  // namespace arbtree::tool
