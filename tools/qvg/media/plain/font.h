// Text as pixels, in a font of the machine.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qvgtool {

struct LetteredText {
  int width = 0, height = 0;
  std::vector<uint8_t> cover;  // Of each pixel, row by row: 255 lies inside a letter.
};

/** text: UTF-8, in lines; size: pixels. @return none with a reason where no font is found. */
std::optional<LetteredText> Lettered(const std::string& text, double size, bool fixedWidth, std::string& reason);

}  // namespace qvgtool
