#include <cstdlib>

#include "platform/console.h"

namespace qvgtool {

std::vector<std::string> Arguments(int argc, char** argv) { return {argv, argv + argc}; }

void PrepareConsole() {}

void ForgetVariable(const char* name) { unsetenv(name); }

}  // namespace qvgtool
