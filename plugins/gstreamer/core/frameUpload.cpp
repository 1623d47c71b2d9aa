#include "core/frameUpload.h"

#include <algorithm>
#include <string>

#include "core/stringList.h"

namespace qvgst {
namespace {

/// What a byte of alpha wants of an upload.
enum class Alpha { kNone, kKept, kUnused };

struct Format {
  GstVideoFormat format;
  QVGPixelFormat upload;  ///< As which the library gets them.
  Alpha alpha = Alpha::kNone;
};

constexpr Format kFormats[] = {
    {GST_VIDEO_FORMAT_NV12, QVG_FORMAT_RGBA},
    {GST_VIDEO_FORMAT_I420, QVG_FORMAT_RGBA},
    {GST_VIDEO_FORMAT_YV12, QVG_FORMAT_RGBA},
    {GST_VIDEO_FORMAT_P010_10LE, QVG_FORMAT_RGBA},
    {GST_VIDEO_FORMAT_P012_LE, QVG_FORMAT_RGBA},
    {GST_VIDEO_FORMAT_P016_LE, QVG_FORMAT_RGBA},
    {GST_VIDEO_FORMAT_Y42B, QVG_FORMAT_RGBA},
    {GST_VIDEO_FORMAT_Y444, QVG_FORMAT_RGBA},
    {GST_VIDEO_FORMAT_RGBA, QVG_FORMAT_RGBA, Alpha::kKept},
    {GST_VIDEO_FORMAT_BGRA, QVG_FORMAT_BGRA, Alpha::kKept},
    {GST_VIDEO_FORMAT_ARGB, QVG_FORMAT_ARGB, Alpha::kKept},
    {GST_VIDEO_FORMAT_ABGR, QVG_FORMAT_ABGR, Alpha::kKept},
    {GST_VIDEO_FORMAT_RGBx, QVG_FORMAT_RGBA, Alpha::kUnused},
    {GST_VIDEO_FORMAT_BGRx, QVG_FORMAT_BGRA, Alpha::kUnused},
    {GST_VIDEO_FORMAT_xRGB, QVG_FORMAT_ARGB, Alpha::kUnused},
    {GST_VIDEO_FORMAT_xBGR, QVG_FORMAT_ABGR, Alpha::kUnused},
    {GST_VIDEO_FORMAT_RGB, QVG_FORMAT_RGB},
    {GST_VIDEO_FORMAT_BGR, QVG_FORMAT_BGR},
};

const Format& FormatOf(GstVideoFormat format) {
  for (const Format& row : kFormats) {
    if (row.format == format) return row;
  }
  static constexpr Format kUnknown = {GST_VIDEO_FORMAT_UNKNOWN, QVGPixelFormat{}};
  return kUnknown;
}

/// How YUV frames become RGB.
std::optional<YuvMatrix> ConversionOf(const GstVideoInfo& info) {
  if (!GST_VIDEO_INFO_IS_YUV(&info)) return {};
  double red = 0.299, blue = 0.114;  // ITU-R BT.601
  gst_video_color_matrix_get_Kr_Kb(info.colorimetry.matrix, &red, &blue);
  return YuvMatrix::Of(red, blue, info.colorimetry.range == GST_VIDEO_COLOR_RANGE_0_255);
}

}  // namespace

GstCaps* FrameUpload::Caps() {
  std::vector<std::string> names;
  for (const Format& row : kFormats) names.emplace_back(gst_video_format_to_string(row.format));
  GstCaps* caps = gst_caps_from_string(
      "video/x-raw, width = [ 1, 16384 ], height = [ 1, 16384 ], framerate = [ 0/1, 2147483647/1 ]");
  SetStrings(gst_caps_get_structure(caps, 0), "format", names);
  return caps;
}

FrameUpload::FrameUpload(const GstVideoInfo& info) : info_(info), conversion_(ConversionOf(info)) {}

FrameUpload::Area FrameUpload::AreaOf(const GstVideoFrame& frame, const Crop& crop) {
  const GstVideoFormatInfo* format = frame.info.finfo;
  const int width = GST_VIDEO_FRAME_WIDTH(&frame), height = GST_VIDEO_FRAME_HEIGHT(&frame);
  const int across = (1 << format->w_sub[1]) - 1, down = (1 << format->h_sub[1]) - 1;
  const int x = std::clamp(crop.left, 0, width - 1) & ~across, y = std::clamp(crop.top, 0, height - 1) & ~down;
  const int right = std::clamp(width - crop.right, x + 1, width),
            bottom = std::clamp(height - crop.bottom, y + 1, height);
  return {x, y, std::min((right + across) & ~across, width) - x, std::min((bottom + down) & ~down, height) - y};
}

qvg::PixelBuffer FrameUpload::Describe(const GstVideoFrame& frame, const Area& area) const {
  qvg::PixelBuffer buffer;
  buffer.format = FormatOf(GST_VIDEO_FRAME_FORMAT(&frame)).upload;
  buffer.width = area.width;
  buffer.height = area.height;
  buffer.stride[0] = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0);
  buffer.plane[0] = static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)) +
                    ptrdiff_t{area.y} * buffer.stride[0] + ptrdiff_t{area.x} * GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, 0);
  return buffer;
}

qvg::PixelBuffer FrameUpload::ConvertColors(const GstVideoFrame& frame, const Area& area) {
  const GstVideoFormatInfo* format = frame.info.finfo;
  const auto plane = [&](int part) {
    const int stride = GST_VIDEO_FRAME_COMP_STRIDE(&frame, part);
    return ReadRows{static_cast<const uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, part)) +
                        ptrdiff_t{area.y >> format->h_sub[part]} * stride +
                        ptrdiff_t{area.x >> format->w_sub[part]} * format->pixel_stride[part],
                    stride};
  };
  const YuvFrame yuv = {area.width,
                        area.height,
                        format->pixel_stride[0],
                        format->pixel_stride[1],
                        1 << format->w_sub[1],
                        1 << format->h_sub[1],
                        (frame.info.chroma_site & GST_VIDEO_CHROMA_SITE_H_COSITED) != 0,
                        plane(GST_VIDEO_COMP_Y),
                        plane(GST_VIDEO_COMP_U),
                        plane(GST_VIDEO_COMP_V)};
  scratch_.resize(QVG_PixelBufferSize(QVG_FORMAT_RGBA, yuv.width, yuv.height, 0));
  const qvg::PixelBuffer buffer(QVG_FORMAT_RGBA, yuv.width, yuv.height, scratch_.data());
  ConvertToRGBA(*conversion_, yuv, {buffer.plane[0], buffer.stride[0]});
  return buffer;
}

void FrameUpload::PrepareAlpha(const GstVideoFrame& frame, AlphaForm form, qvg::PixelBuffer& buffer) {
  const Alpha alpha = FormatOf(GST_VIDEO_FRAME_FORMAT(&frame)).alpha;
  if (alpha == Alpha::kNone || (alpha == Alpha::kKept && form == AlphaForm::kStraight)) return;
  const int alphaByte = buffer.format == QVG_FORMAT_ARGB || buffer.format == QVG_FORMAT_ABGR ? 0 : 3;
  const ReadRows from = {buffer.plane[0], buffer.stride[0]};
  if (AllOpaque(from, buffer.width, buffer.height, alphaByte)) return;
  buffer.stride[0] = 4 * buffer.width;
  scratch_.resize(static_cast<size_t>(buffer.stride[0]) * static_cast<size_t>(buffer.height));
  buffer.plane[0] = scratch_.data();
  const auto copy = alpha == Alpha::kUnused ? &CopyOpaque : &CopyPremultiplied;
  copy(from, {buffer.plane[0], buffer.stride[0]}, buffer.width, buffer.height, alphaByte);
}

qvg::Texture FrameUpload::Upload(const GstVideoFrame& frame, AlphaForm form, const Crop& crop) {
  const Area area = AreaOf(frame, crop);
  if (conversion_) return qvg::Texture::FromFrame(ConvertColors(frame, area));
  qvg::PixelBuffer buffer = Describe(frame, area);
  PrepareAlpha(frame, form, buffer);
  return qvg::Texture::FromFrame(buffer);
}

}  // namespace qvgst
