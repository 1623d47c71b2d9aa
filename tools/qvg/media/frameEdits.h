// What is done to single pictures beside converting them. The backend implements it.
#pragma once

#include <string>
#include <vector>

#include "media/frame.h"

namespace qvgtool {

/** A turned copy, clockwise. Throws Error. */
FramePtr Upright(const Frame& frame, int quarterTurns);

/** A copy of another width. Throws Error. */
FramePtr Widened(const Frame& frame, int width);

/** The middle of a picture, in this shape; nothing is copied. */
void CutTo(Frame& frame, int width, int height);

struct Caption {
  enum Place {
    kAt,      // Plain, at a point.
    kMiddle,  // These two: on a box, of letters of one width,
    kBelow    // and in the middle or near the lower edge.
  } place = kAt;
  std::string text;
  double size = 0;
  int x = 0, y = 0;
};

/** The picture, RGB or RGBA, with text on it. @return null with a reason where that can't be had. */
FramePtr WithCaptions(const Frame& picture, const std::vector<Caption>& captions, std::string& reason);

}  // namespace qvgtool
