// What a test program does instead of testing when its first argument is --<name>.
#pragma once

#include <functional>
#include <map>
#include <string>

namespace qvg::test {

// The command gets the second argument, empty when there is none, and returns the program's exit code.
using Command = std::function<int(const std::string&)>;

inline std::map<std::string, Command>& commands() {
  static std::map<std::string, Command> all;
  return all;
}

}  // namespace qvg::test
