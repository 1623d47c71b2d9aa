// What the backend's libraries log.
#pragma once

namespace qvgtool {

/** Keeps their own lines for errors instead of printing them; verbose prints them too. */
void CatchMediaLog(bool verbose);

}  // namespace qvgtool
