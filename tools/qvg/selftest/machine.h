// What a report tells of the machine, the driver and the library.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "picture/logCapture.h"

namespace qvgtool::selftest {

using Facts = std::vector<std::pair<std::string, std::string>>;

/** Of the tool and the library. */
Facts VersionFacts();
/** The variables of the environment that change what the driver or the library do. */
Facts EnvironmentFacts();
/** What is known without a context: the platform's extensions and devices. */
Facts PlatformFacts();

/** GL's functions as the driver of the current context has them; false: it has not all of OpenGL 4.2. */
bool LoadGL();
/** Of the current context, after LoadGL. */
Facts DriverFacts();
Facts LimitFacts();
std::vector<std::string> DriverExtensions();

/** On which display the library started, and on which it did not, as its log says. */
struct DisplayFacts {
  std::string chosen;                   // empty: none
  std::vector<std::string> passedOver;  // and why
  std::vector<std::string> errors;
};
DisplayFacts FindDisplay(const std::vector<LogLine>& log);

}  // namespace qvgtool::selftest
