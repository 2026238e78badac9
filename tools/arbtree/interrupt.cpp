// The signals that end a program on request.
#include "interrupt.h"

#include <csignal>
#include <initializer_list>

namespace arbtree::tool {
namespace {

volatile std::sig_atomic_t caught = 0;

void remember(int signal) { caught = signal; }

}  // namespace

// Without SA_RESTART, so that a read that waits returns.
void catchInterrupts() {
  struct sigaction action = {};
  action.sa_handler = remember;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

bool isInterrupted() { return caught != 0; }

void endIfInterrupted() {
  if (!isInterrupted()) return;
  std::signal(caught, SIG_DFL);
  std::raise(caught);
}

}  // namespace arbtree::tool
