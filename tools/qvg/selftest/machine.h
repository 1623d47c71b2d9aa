// What a report says about the machine, the driver and the library.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "picture/logCapture.h"

namespace qvgtool::selftest {

using Facts = std::vector<std::pair<std::string, std::string>>;

/** The tool's and the library's. */
Facts VersionFacts();
/** The environment variables that influence the driver or the library. */
Facts EnvironmentFacts();
/** Known without a context: the platform's extensions and devices. */
Facts PlatformFacts();

/** Loads GL's functions from the current context's driver; false: it lacks some of OpenGL 4.2. */
bool LoadGL();
/** The current context's, after LoadGL. */
Facts DriverFacts();
Facts LimitFacts();
std::vector<std::string> DriverExtensions();

/** From the library's log: the display on which it started, and those on which it did not. */
struct DisplayFacts {
  std::string chosen;                   // Empty: none.
  std::vector<std::string> passedOver;  // With the reasons.
  std::vector<std::string> errors;
};
DisplayFacts FindDisplay(const std::vector<LogLine>& log);

}  // namespace qvgtool::selftest
