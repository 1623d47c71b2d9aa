#include "media/colorConversion.h"

#include <algorithm>

namespace qvgtool {

const Frame& UploadConverter::Prepare(const Frame& frame) {
  const bool rgb = frame.colors.rgb;
  const bool known = UploadFormat(frame.format).has_value() && (rgb || path_ == UploadPath::kNative);
  const bool topDown = std::all_of(frame.stride.begin(), frame.stride.end() - 1, [](int s) { return s >= 0; });
  if (known && topDown && frame.colors.IsFullRange601()) return frame;
  if (known && !rgb) {
    return converter_.Convert(frame, frame.format, frame.width, frame.height,
                              {.fullRange = true, .matrix = kMatrix601});
  }
  return converter_.Convert(frame, PixelFormat::kRGBA, frame.width, frame.height, kRgbColors);
}

}  // namespace qvgtool
