// Image files, decoded and encoded in memory.
#pragma once

#include <string>
#include <vector>

#include "media/frame.h"

namespace qvgtool {

/** PNG, JPEG, BMP, TGA, GIF's first picture and the like, as RGB or RGBA. Throws Error, which begins with the name. */
FramePtr DecodeImage(const std::vector<uint8_t>& file, const std::string& name);

struct ImageEncoder {
  const char *ending, *name;
  bool alpha;
  /** pixels: rows without padding, of 3 or 4 channels. @return false for a picture that the format doesn't take. */
  bool (*encode)(std::vector<uint8_t>& file, int width, int height, int channels, const uint8_t* pixels, int quality);
};

/** Chooses by the file name's extension; null: there is none for it. */
const ImageEncoder* FindImageEncoder(const std::string& path);

}  // namespace qvgtool
