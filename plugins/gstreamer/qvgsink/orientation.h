#pragma once

#include <gst/video/video.h>

#include <utility>

namespace qvgst {

/// How a frame is put upright: its left and right are exchanged first, then it is turned clockwise.
struct Orientation {
  int quarterTurns = 0;
  bool mirrored = false;

  /// Of GST_VIDEO_ORIENTATION_AUTO and others that name none: as it is.
  static Orientation Of(GstVideoOrientationMethod method);

  bool Lies() const { return quarterTurns % 2 == 1; }
  /// From a place in the upright frame to one in the frame; both from 0 to 1.
  std::pair<double, double> Undo(double x, double y) const;

  bool operator==(const Orientation&) const = default;
};

}  // namespace qvgst
