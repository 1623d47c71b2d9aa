// The log of the backend's libraries.
#pragma once

namespace qvgtool {

/** Keeps its lines for error messages instead of printing them; verbose prints them, too. */
void CatchMediaLog(bool verbose);

}  // namespace qvgtool
