#pragma once

#include <gst/video/video.h>
#include <qvGLRenderer/qvGLRenderer.hpp>

#include <optional>
#include <vector>

#include "core/pixelLoops.h"

namespace qvgst {

/// Whether colours come multiplied by their alpha.
enum class AlphaForm { kStraight, kPremultiplied };

/// Pixels to leave away at each side of a frame.
struct Crop {
  int left = 0, top = 0, right = 0, bottom = 0;

  friend bool operator==(const Crop&, const Crop&) = default;
};

/// Makes textures of GStreamer's frames of one format. RGB goes to the library as it lies in memory, with its strides;
/// only what the library takes otherwise is brought into another form first, in memory of this object: YUV is converted
/// to RGB (the library knows full-range BT.601 alone, and stretches that by a pixel), pixels of formats that have a
/// byte for alpha, but none in it, get it, and colours are multiplied by their alpha where that is wanted and not 1.
class FrameUpload {
 public:
  /// The formats that are taken, of any size. To be unreferenced.
  static GstCaps* Caps();

  explicit FrameUpload(const GstVideoInfo& info);

  const GstVideoInfo& Info() const { return info_; }

  /// On a rendering thread. The frame is not read after the call. What is left away begins and ends with whole samples
  /// of chroma; at least one pixel stays. Empty on failure.
  qvg::Texture Upload(const GstVideoFrame& frame, AlphaForm form, const Crop& crop = {});

 private:
  /// What is left of a frame.
  struct Area {
    int x, y, width, height;
  };
  static Area AreaOf(const GstVideoFrame& frame, const Crop& crop);
  qvg::PixelBuffer Describe(const GstVideoFrame& frame, const Area& area) const;
  qvg::PixelBuffer ConvertColors(const GstVideoFrame& frame, const Area& area);
  void PrepareAlpha(const GstVideoFrame& frame, AlphaForm form, qvg::PixelBuffer& buffer);

  GstVideoInfo info_;
  std::optional<YuvMatrix> conversion_;
  std::vector<uint8_t> scratch_;
};

}  // namespace qvgst
