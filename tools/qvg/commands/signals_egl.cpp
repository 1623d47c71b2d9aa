#include "commands/signals.h"

#include <atomic>
#include <csignal>

namespace qvgtool {
namespace {

std::atomic<bool> interrupted = false;

void OnSignal(int number) {
  interrupted = true;
  // A second signal ends a program that hangs.
  std::signal(number, SIG_DFL);
}

}  // namespace

bool Interrupted() { return interrupted; }

void CatchSignals() {
  // Without SA_RESTART: a read or write that blocks has to return, so that its caller can ask Interrupted().
  struct sigaction action = {};
  action.sa_handler = OnSignal;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before = {};
    sigaction(number, &action, &before);
    // Under nohup SIGHUP stays ignored.
    if (number == SIGHUP && before.sa_handler == SIG_IGN) sigaction(number, &before, nullptr);
  }
  // A reader that leaves a pipe and a file that grows too large are seen as failed writes.
  for (const int number : {SIGPIPE, SIGXFSZ}) std::signal(number, SIG_IGN);
}

}  // namespace qvgtool
