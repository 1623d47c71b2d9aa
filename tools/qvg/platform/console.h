// What the platform does differently at the start of a console program.
#pragma once

#include <string>
#include <vector>

namespace qvgtool {

/** The command line in UTF-8. */
std::vector<std::string> Arguments(int argc, char** argv);

/** Makes the console understand UTF-8 and escape sequences. */
void PrepareConsole();

/** Removes a variable from the environment. */
void ForgetVariable(const char* name);

}  // namespace qvgtool
