// Frames of GStreamer in memory, and their pixels in double precision, computed independently of the plugin.
#pragma once

#include <gst/video/video.h>

#include <functional>
#include <memory>
#include <string>

#include "reference/image.h"

namespace qvg::test {

using namespace reference;

using Buffer = std::unique_ptr<GstBuffer, decltype(&gst_buffer_unref)>;
inline Buffer Own(GstBuffer* buffer) { return {buffer, &gst_buffer_unref}; }

/// The colour at a place in pixels: 0, 0 is the middle of the upper left one.
using Painting = std::function<Color(double x, double y)>;

/// Four corners of different colours, and everything between them: flips, swaps and shifts of half a pixel show.
Painting Corners(int width, int height);
/// The same with alpha falling from the left to the right.
Painting FadingCorners(int width, int height);

Image Paint(const Painting& painting, int width, int height);

/// How a frame lies in memory: bytes behind each row and before each plane. With any of them a buffer has a
/// GstVideoMeta.
struct Layout {
  int behindRows = 0, beforePlanes = 0;
};

GstVideoInfo InfoOf(const std::string& caps);

/// Bytes that belong to no sample hold something.
Buffer MakeFrame(const GstVideoInfo& info, const Painting& painting, const Layout& layout = {});

/// The frame's picture, wherever its samples lie, with chroma interpolated linearly. Alpha is 1 where there is none.
Image PictureOf(const GstVideoInfo& info, GstBuffer* buffer);

}  // namespace qvg::test
