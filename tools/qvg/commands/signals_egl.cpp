#include "commands/signals.h"

#include <atomic>
#include <csignal>

namespace qvgtool {
namespace {

std::atomic<bool> interrupted = false;

void OnSignal(int number) {
  interrupted = true;
  // A second one ends a program that hangs.
  std::signal(number, SIG_DFL);
}

}  // namespace

bool Interrupted() { return interrupted; }

void CatchSignals() {
  // Without SA_RESTART: what waits for an input or a reader is to look at the end.
  struct sigaction action = {};
  action.sa_handler = OnSignal;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before = {};
    sigaction(number, &action, &before);
    // nohup is to hold.
    if (number == SIGHUP && before.sa_handler == SIG_IGN) sigaction(number, &before, nullptr);
  }
  // A reader that leaves a pipe, and a file that grows too large, show as a failed write.
  for (const int number : {SIGPIPE, SIGXFSZ}) std::signal(number, SIG_IGN);
}

}  // namespace qvgtool
