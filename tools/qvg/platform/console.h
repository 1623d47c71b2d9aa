// How the platform starts a program in a console.
#pragma once

#include <string>
#include <vector>

namespace qvgtool {

/** The command line in UTF-8. */
std::vector<std::string> Arguments(int argc, char** argv);

/** Makes UTF-8 and what moves the cursor show as they are meant. */
void PrepareConsole();

/** Takes a variable out of the environment. */
void ForgetVariable(const char* name);

}  // namespace qvgtool
