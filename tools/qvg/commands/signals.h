// Signals that end a command cleanly.
#pragma once

namespace qvgtool {

/** From now on SIGINT, SIGTERM and SIGHUP only set Interrupted(), which commands ask for. */
void CatchSignals();
bool Interrupted();

}  // namespace qvgtool
