#include <windows.h>

#include <atomic>

#include "commands/signals.h"

namespace qvgtool {
namespace {

std::atomic<bool> interrupted = false;

// Runs on a thread of its own. When the console was closed, the process ends as soon as this returns.
BOOL WINAPI OnConsole(DWORD event) {
  constexpr DWORD kTimeToFinish = 4000;  // The system gives five seconds.
  // A second event ends a program that hangs.
  if (interrupted.exchange(true)) return FALSE;
  if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT) Sleep(kTimeToFinish);
  return TRUE;
}

}  // namespace

bool Interrupted() { return interrupted; }

void CatchSignals() { SetConsoleCtrlHandler(OnConsole, TRUE); }

}  // namespace qvgtool
