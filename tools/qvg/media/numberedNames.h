// Numbered files: "frame%03d.png".
#pragma once

#include <optional>
#include <string>

namespace qvgtool {

/** The name with this number. @return none when the pattern has no place for one, or several. */
std::optional<std::string> NumberedName(const std::string& pattern, int number);

/** Whether it means numbered files, and not one that is called so. */
bool IsNumbered(const std::string& path);

/** The lowest number in the folder under which the pattern names a file; none: nothing there is named so. */
std::optional<int> FirstNumber(const std::string& pattern);

}  // namespace qvgtool
