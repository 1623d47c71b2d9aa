// Parses sizes, times and colours as users write them. The backend implements it, with the names that it knows.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qvgtool {

/** "1280x720", or a name such as "hd720". */
std::optional<std::pair<int, int>> ParseSize(const std::string& text);

/** "1.5" or "00:01:02.5", in seconds. */
std::optional<double> ParseTime(const std::string& text);

/** "25" or "30000/1001". */
bool IsRate(const std::string& text);

/** "#rrggbb", "#rrggbbaa", "0xrrggbb" or a name; red, green, blue, alpha. */
std::optional<std::array<uint8_t, 4>> ParseColor(const std::string& text);

/** In lower case. */
std::vector<std::string> ColorNames();

}  // namespace qvgtool
