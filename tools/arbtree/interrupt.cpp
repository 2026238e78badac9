// The signals that end a program on request.
#include "interrupt.h"

#include <csignal>
#include <initializer_list>

namespace arbtree::tool {
namespace {

volatile std::sig_atomic_t caught = 0;

void remember(int signal) { caught = signal; }

}  // namespace

// Without SA_RESTART, so that a read or write that waits returns. What the program was started to ignore stays ignored.
void catchInterrupts() {
  struct sigaction action = {};
  action.sa_handler = remember;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction inherited = {};
    sigaction(signal, nullptr, &inherited);
    if (inherited.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
  }
}

bool isInterrupted() { return caught != 0; }

void endIfInterrupted() {
  if (!isInterrupted()) return;
  std::signal(caught, SIG_DFL);
  std::raise(caught);
}

}  // namespace arbtree::tool
