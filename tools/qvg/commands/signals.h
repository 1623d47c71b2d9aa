// Signals that end a command cleanly.
#pragma once

namespace qvgtool {

/** Makes SIGINT, SIGTERM and SIGHUP tell Interrupted(), for commands that ask. */
void CatchSignals();
bool Interrupted();

}  // namespace qvgtool
