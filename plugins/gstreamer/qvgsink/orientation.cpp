#include "qvgsink/orientation.h"

#include <tuple>

namespace qvgst {

Orientation Orientation::Of(GstVideoOrientationMethod method) {
  switch (method) {
    case GST_VIDEO_ORIENTATION_90R:
      return {1, false};
    case GST_VIDEO_ORIENTATION_180:
      return {2, false};
    case GST_VIDEO_ORIENTATION_90L:
      return {3, false};
    case GST_VIDEO_ORIENTATION_HORIZ:
      return {0, true};
    case GST_VIDEO_ORIENTATION_UR_LL:
      return {1, true};
    case GST_VIDEO_ORIENTATION_VERT:
      return {2, true};
    case GST_VIDEO_ORIENTATION_UL_LR:
      return {3, true};
    default:
      return {};
  }
}

std::pair<double, double> Orientation::Undo(double x, double y) const {
  for (int turn = 0; turn < quarterTurns; ++turn) std::tie(x, y) = std::pair(y, 1 - x);
  return {mirrored ? 1 - x : x, y};
}

}  // namespace qvgst
