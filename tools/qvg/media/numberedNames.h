// Numbered files: "frame%03d.png".
#pragma once

#include <optional>
#include <string>

namespace qvgtool {

/** The name with this number. @return none unless the pattern has exactly one place for a number. */
std::optional<std::string> NumberedName(const std::string& pattern, int number);

/** Whether the path is a pattern, and not the name of an existing file. */
bool IsNumbered(const std::string& path);

/** The lowest number with which the pattern names a file; none: there is no such file. */
std::optional<int> FirstNumber(const std::string& pattern);

}  // namespace qvgtool
