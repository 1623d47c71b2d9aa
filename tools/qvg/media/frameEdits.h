// Edits of single pictures, other than conversions. The backend implements them.
#pragma once

#include <string>
#include <vector>

#include "media/frame.h"

namespace qvgtool {

/** A copy that is turned clockwise. Throws Error. */
FramePtr Upright(const Frame& frame, int quarterTurns);

/** A copy stretched to another width. Throws Error. */
FramePtr Widened(const Frame& frame, int width);

/** Crops a picture about its middle to this aspect ratio; no pixels are copied. */
void CutTo(Frame& frame, int width, int height);

struct Caption {
  enum Place {
    kAt,      // Plain, at a point.
    kMiddle,  // These two: on a box, in a fixed-width font,
    kBelow    // in the middle or near the lower edge.
  } place = kAt;
  std::string text;
  double size = 0;
  int x = 0, y = 0;
};

/** The RGB or RGBA picture with text on it. @return null, with a reason, where that is not possible. */
FramePtr WithCaptions(const Frame& picture, const std::vector<Caption>& captions, std::string& reason);

}  // namespace qvgtool
