#include "gstreamer/videoFrames.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace qvg::test {
namespace {

struct Weights {
  double red, green, blue;
};

Weights WeightsOf(GstVideoColorMatrix matrix) {
  switch (matrix) {
    case GST_VIDEO_COLOR_MATRIX_BT709:
      return {0.2126, 0.7152, 0.0722};
    case GST_VIDEO_COLOR_MATRIX_BT2020:
      return {0.2627, 0.6780, 0.0593};
    default:
      return {0.299, 0.587, 0.114};
  }
}

/// Y from 0 to 1, Cb and Cr from -0.5 to 0.5.
Color ToYuv(const Color& rgb, const Weights& w) {
  const double y = w.red * rgb[0] + w.green * rgb[1] + w.blue * rgb[2];
  return {y, (rgb[2] - y) / (2 * (1 - w.blue)), (rgb[0] - y) / (2 * (1 - w.red)), rgb[3]};
}

Color ToRgb(const Color& yuv, const Weights& w) {
  const double red = yuv[0] + 2 * (1 - w.red) * yuv[2], blue = yuv[0] + 2 * (1 - w.blue) * yuv[1];
  const double green = (yuv[0] - w.red * red - w.blue * blue) / w.green;
  return {std::clamp(red, 0.0, 1.0), std::clamp(green, 0.0, 1.0), std::clamp(blue, 0.0, 1.0), yuv[3]};
}

/// How values of a part are stored: a sample is value * scale + zero, in steps of its depth.
struct Steps {
  double scale, zero;
};

Steps StepsOf(const GstVideoInfo& info, guint part) {
  const int depth = GST_VIDEO_INFO_COMP_DEPTH(&info, part);
  const double largest = (1 << depth) - 1, unit = 1 << (depth - 8);
  const bool chroma = GST_VIDEO_INFO_IS_YUV(&info) && part > 0;
  if (!GST_VIDEO_INFO_IS_YUV(&info) || info.colorimetry.range == GST_VIDEO_COLOR_RANGE_0_255) {
    return {largest, chroma ? 128 * unit : 0};
  }
  return chroma ? Steps{224 * unit, 128 * unit} : Steps{219 * unit, 16 * unit};
}

/// A part's plane, as samples.
struct Samples {
  const GstVideoFrame& frame;
  guint part;
  const GstVideoFormatInfo* format = frame.info.finfo;
  int width = GST_VIDEO_FRAME_COMP_WIDTH(&frame, part), height = GST_VIDEO_FRAME_COMP_HEIGHT(&frame, part);

  uint8_t* At(int x, int y) const {
    return static_cast<uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, part)) +
           ptrdiff_t{y} * GST_VIDEO_FRAME_COMP_STRIDE(&frame, part) +
           ptrdiff_t{x} * GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, part);
  }
  /// Where a sample lies, in pixels.
  double X(int x) const {
    const int across = 1 << format->w_sub[part];
    const bool left = (frame.info.chroma_site & GST_VIDEO_CHROMA_SITE_H_COSITED) != 0;
    return x * across + (left ? 0 : (across - 1) / 2.0);
  }
  double Y(int y) const {
    const int down = 1 << format->h_sub[part];
    return y * down + (down - 1) / 2.0;
  }
  void Put(int x, int y, double value) const {
    const Steps steps = StepsOf(frame.info, part);
    const double largest = (1 << format->depth[part]) - 1;
    const auto sample = static_cast<unsigned>(std::lround(std::clamp(value * steps.scale + steps.zero, 0.0, largest)))
                        << format->shift[part];
    At(x, y)[0] = static_cast<uint8_t>(sample);
    if (format->depth[part] > 8) At(x, y)[1] = static_cast<uint8_t>(sample >> 8);
  }
  double Get(int x, int y) const {
    x = std::clamp(x, 0, width - 1), y = std::clamp(y, 0, height - 1);
    const unsigned sample = format->depth[part] > 8 ? At(x, y)[0] | At(x, y)[1] << 8U : At(x, y)[0];
    const Steps steps = StepsOf(frame.info, part);
    return ((sample >> format->shift[part]) - steps.zero) / steps.scale;
  }
  /// The value at a pixel.
  double Between(int x, int y) const {
    if (format->w_sub[part] == 0 && format->h_sub[part] == 0) return Get(x, y);
    const double u = (x - X(0)) / (X(1) - X(0)), v = (y - Y(0)) / (Y(1) - Y(0));
    const int left = static_cast<int>(std::floor(u)), top = static_cast<int>(std::floor(v));
    const auto row = [&](int at) { return std::lerp(Get(left, at), Get(left + 1, at), u - left); };
    return std::lerp(row(top), row(top + 1), v - top);
  }
};

}  // namespace

Painting Corners(int width, int height) {
  constexpr Color kCorners[] = {{0.8, 0.2, 0.2, 1}, {0.2, 0.7, 0.3, 1}, {0.2, 0.3, 0.8, 1}, {0.9, 0.8, 0.3, 1}};
  return [=](double x, double y) {
    Color color;
    for (size_t i = 0; i < 4; ++i) {
      const double across = x / std::max(width - 1, 1), down = y / std::max(height - 1, 1);
      color[i] = std::lerp(std::lerp(kCorners[0][i], kCorners[1][i], across),
                           std::lerp(kCorners[2][i], kCorners[3][i], across), down);
    }
    return color;
  };
}

Painting FadingCorners(int width, int height) {
  return [opaque = Corners(width, height), width](double x, double y) {
    Color color = opaque(x, y);
    color[3] = 1 - x / width;
    return color;
  };
}

Image Paint(const Painting& painting, int width, int height) {
  return MakeImage(width, height, [&](int x, int y) { return painting(x, y); });
}

GstVideoInfo InfoOf(const std::string& text) {
  GstCaps* caps = gst_caps_from_string(text.c_str());
  GstVideoInfo info;
  const bool valid = caps != nullptr && gst_video_info_from_caps(&info, caps);
  gst_clear_caps(&caps);
  if (!valid) throw std::invalid_argument(text);
  return info;
}

Buffer MakeFrame(const GstVideoInfo& info, const Painting& painting, const Layout& layout) {
  gsize offsets[GST_VIDEO_MAX_PLANES] = {}, size = 0;
  gint strides[GST_VIDEO_MAX_PLANES] = {};
  const bool ownLayout = layout.behindRows != 0 || layout.beforePlanes != 0;
  for (guint plane = 0; plane < GST_VIDEO_INFO_N_PLANES(&info); ++plane) {
    strides[plane] = GST_VIDEO_INFO_PLANE_STRIDE(&info, plane) + layout.behindRows;
    offsets[plane] = size + static_cast<gsize>(layout.beforePlanes);
    size = offsets[plane] + static_cast<gsize>(strides[plane]) *
                                static_cast<gsize>(GST_VIDEO_INFO_COMP_HEIGHT(&info, plane == 0 ? 0 : 1));
  }
  GstBuffer* buffer = gst_buffer_new_allocate(nullptr, ownLayout ? size : GST_VIDEO_INFO_SIZE(&info), nullptr);
  gst_buffer_memset(buffer, 0, 0x35, gst_buffer_get_size(buffer));
  if (ownLayout) {
    gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_INFO_FORMAT(&info),
                                   static_cast<guint>(info.width), static_cast<guint>(info.height),
                                   GST_VIDEO_INFO_N_PLANES(&info), offsets, strides);
  }
  GstVideoFrame frame;
  if (!gst_video_frame_map(&frame, &info, buffer, GST_MAP_READWRITE)) throw std::runtime_error("no frame");
  const Weights weights = WeightsOf(info.colorimetry.matrix);
  for (guint part = 0; part < GST_VIDEO_INFO_N_COMPONENTS(&info); ++part) {
    const Samples samples = {frame, part};
    for (int y = 0; y < samples.height; ++y) {
      for (int x = 0; x < samples.width; ++x) {
        const Color color = painting(samples.X(x), samples.Y(y));
        samples.Put(x, y, (GST_VIDEO_INFO_IS_YUV(&info) ? ToYuv(color, weights) : color)[part]);
      }
    }
  }
  gst_video_frame_unmap(&frame);
  return Own(buffer);
}

Image PictureOf(const GstVideoInfo& info, GstBuffer* buffer) {
  GstVideoFrame frame;
  if (buffer == nullptr || !gst_video_frame_map(&frame, &info, buffer, GST_MAP_READ)) return {};
  const Weights weights = WeightsOf(info.colorimetry.matrix);
  const Image picture = MakeImage(info.width, info.height, [&](int x, int y) {
    Color color = {0, 0, 0, 1};
    for (guint part = 0; part < GST_VIDEO_INFO_N_COMPONENTS(&info); ++part) {
      color[part] = Samples{frame, part}.Between(x, y);
    }
    return GST_VIDEO_INFO_IS_YUV(&info) ? ToRgb(color, weights) : color;
  });
  gst_video_frame_unmap(&frame);
  return picture;
}

}  // namespace qvg::test
