// One-line messages to the user.
#pragma once

#include <cstdio>
#include <string>

namespace qvgtool {

/** Writes a line to standard error. A closed terminal is no reason to fail. */
inline void Complain(const std::string& text) { std::fputs(("qvg: " + text + "\n").c_str(), stderr); }

}  // namespace qvgtool
