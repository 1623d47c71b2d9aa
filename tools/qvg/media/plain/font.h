// Renders text with one of the machine's fonts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qvgtool {

struct LetteredText {
  int width = 0, height = 0;
  std::vector<uint8_t> cover;  // Coverage, row by row: 255 lies inside a letter.
};

/** text: UTF-8, may have several lines; size: in pixels. @return none, with a reason, when no font is found. */
std::optional<LetteredText> Lettered(const std::string& text, double size, bool fixedWidth, std::string& reason);

}  // namespace qvgtool
