#include "core/frameOutput.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "core/pixelLoops.h"
#include "core/stringList.h"

namespace qvgst {
namespace {

enum class Way { kRGBA, kBGRA, kNV12, kI420 };

struct Format {
  GstVideoFormat format;
  Way way;
};

// In the order of preference where nothing else decides.
constexpr Format kFormats[] = {
    {GST_VIDEO_FORMAT_NV12, Way::kNV12}, {GST_VIDEO_FORMAT_I420, Way::kI420}, {GST_VIDEO_FORMAT_RGBA, Way::kRGBA},
    {GST_VIDEO_FORMAT_BGRA, Way::kBGRA}, {GST_VIDEO_FORMAT_RGBx, Way::kRGBA}, {GST_VIDEO_FORMAT_BGRx, Way::kBGRA},
    {GST_VIDEO_FORMAT_RGB, Way::kRGBA},  {GST_VIDEO_FORMAT_BGR, Way::kBGRA},
};

Way WayOf(GstVideoFormat format) {
  for (const Format& row : kFormats) {
    if (row.format == format) return row.way;
  }
  return Way::kRGBA;
}

bool IsYuv(Way way) { return way == Way::kNV12 || way == Way::kI420; }

qvg::ReadBack ReadAs(Way way, const qvg::Texture& texture) {
  // The picture's top row first.
  const bool flip = !texture.Flipped();
  switch (way) {
    case Way::kNV12:
      return texture.ReadNV12();
    case Way::kI420:
      return texture.ReadYUV420();
    case Way::kRGBA:
      return texture.ReadRGBA(flip);
    default:
      return texture.ReadBGRA(flip);
  }
}

/// The names of the colorimetry in which YUV frames are given: with the primaries and the transfer of the source's
/// colours, which nothing here changes, and as nearly everything takes them for.
std::vector<std::string> YuvColorimetry(const GstVideoColorimetry* source) {
  std::vector<std::string> names;
  if (source != nullptr) {
    GstVideoColorimetry colors = *source;
    colors.range = GST_VIDEO_COLOR_RANGE_16_235;
    colors.matrix = GST_VIDEO_COLOR_MATRIX_BT601;
    char* text = gst_video_colorimetry_to_string(&colors);
    if (text != nullptr) names.emplace_back(text);
    g_free(text);
  }
  if (names.empty() || names.front() != GST_VIDEO_COLORIMETRY_BT601) names.emplace_back(GST_VIDEO_COLORIMETRY_BT601);
  return names;
}

/// That of RGB, from the same source; empty when nothing is known of it.
std::string RgbColorimetry(const GstVideoColorimetry& source) {
  GstVideoColorimetry colors = source;
  if (colors.transfer == GST_VIDEO_TRANSFER_UNKNOWN && colors.primaries == GST_VIDEO_COLOR_PRIMARIES_UNKNOWN) return {};
  colors.range = GST_VIDEO_COLOR_RANGE_0_255;
  colors.matrix = GST_VIDEO_COLOR_MATRIX_RGB;
  char* text = gst_video_colorimetry_to_string(&colors);
  std::string name = text != nullptr ? text : "";
  g_free(text);
  return name;
}

/// A read-back whose memory a buffer has become, and what keeps that memory there.
struct Lent {
  std::shared_ptr<qvg::Library> library;
  qvg::ReadBack read;
};

void AppendFormats(GstCaps* caps, bool yuv, const char* sizes) {
  std::vector<std::string> names;
  for (const Format& row : kFormats) {
    if (IsYuv(row.way) == yuv) names.emplace_back(gst_video_format_to_string(row.format));
  }
  GstStructure* structure = gst_structure_from_string(sizes, nullptr);
  SetStrings(structure, "format", names);
  gst_caps_append_structure(caps, structure);
}

}  // namespace

GstCaps* FrameOutput::Caps() {
  GstCaps* caps = gst_caps_new_empty();
  AppendFormats(caps, true,
                "video/x-raw, width = [ 2, 16384, 2 ], height = [ 2, 16384, 2 ], framerate = [ 0/1, 2147483647/1 ]");
  AppendFormats(caps, false,
                "video/x-raw, width = [ 1, 16384 ], height = [ 1, 16384 ], framerate = [ 0/1, 2147483647/1 ]");
  return caps;
}

void FrameOutput::RestrictColorimetry(GstCaps* caps, const GstVideoColorimetry* source) {
  for (guint i = 0; i < gst_caps_get_size(caps); ++i) {
    GstStructure* structure = gst_caps_get_structure(caps, i);
    const GValue* format = gst_structure_get_value(structure, "format");
    if (format == nullptr) continue;
    // Structures have formats of one kind, as those of Caps() do.
    const GValue* first = GST_VALUE_HOLDS_LIST(format) ? gst_value_list_get_value(format, 0) : format;
    if (!IsYuv(WayOf(gst_video_format_from_string(g_value_get_string(first))))) continue;
    SetStrings(structure, "colorimetry", YuvColorimetry(source));
  }
}

GstCaps* FrameOutput::Choose(GstCaps* caps, const GstVideoInfo& source, bool alpha) {
  std::vector<GstVideoFormat> wanted;
  if (GST_VIDEO_INFO_FORMAT(&source) != GST_VIDEO_FORMAT_UNKNOWN) wanted.push_back(GST_VIDEO_INFO_FORMAT(&source));
  if (alpha) {
    const auto place = GST_VIDEO_INFO_HAS_ALPHA(&source) ? wanted.end() : wanted.begin();
    wanted.insert(place, {GST_VIDEO_FORMAT_RGBA, GST_VIDEO_FORMAT_BGRA});
  }
  for (const bool yuv : {GST_VIDEO_INFO_IS_YUV(&source) != FALSE, GST_VIDEO_INFO_IS_YUV(&source) == FALSE}) {
    for (const Format& row : kFormats) {
      if (IsYuv(row.way) == yuv) wanted.push_back(row.format);
    }
  }
  for (const GstVideoFormat format : wanted) {
    GstCaps* one =
        gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, gst_video_format_to_string(format), nullptr);
    GstCaps* chosen = gst_caps_intersect(caps, one);
    gst_caps_unref(one);
    if (!gst_caps_is_empty(chosen)) {
      gst_caps_unref(caps);
      return chosen;
    }
    gst_caps_unref(chosen);
  }
  return caps;
}

void FrameOutput::Complete(GstStructure* caps, const GstVideoColorimetry& source) {
  const GstVideoFormat format = gst_video_format_from_string(gst_structure_get_string(caps, "format"));
  const Way way = WayOf(format);
  if (!gst_structure_has_field(caps, "colorimetry")) {
    const std::string colors = IsYuv(way) ? YuvColorimetry(&source).front() : RgbColorimetry(source);
    if (!colors.empty()) gst_structure_set(caps, "colorimetry", G_TYPE_STRING, colors.c_str(), nullptr);
  }
  if (IsYuv(way) && !gst_structure_has_field(caps, "chroma-site")) {
    gst_structure_set(caps, "chroma-site", G_TYPE_STRING, way == Way::kNV12 ? "mpeg2" : "jpeg", nullptr);
  }
}

bool FrameOutput::Fits(const QVGPixelBuffer& read) const {
  for (guint plane = 0; plane < GST_VIDEO_INFO_N_PLANES(&info_); ++plane) {
    if (read.stride[plane] != GST_VIDEO_INFO_PLANE_STRIDE(&info_, plane) ||
        static_cast<gsize>(read.plane[plane] - read.plane[0]) != GST_VIDEO_INFO_PLANE_OFFSET(&info_, plane)) {
      return false;
    }
  }
  return true;
}

GstBuffer* FrameOutput::Lend(qvg::ReadBack read, const std::shared_ptr<qvg::Library>& library) const {
  const QVGPixelBuffer planes = *read;
  const guint count = GST_VIDEO_INFO_N_PLANES(&info_);
  gsize offsets[GST_VIDEO_MAX_PLANES] = {}, size = 0;
  gint strides[GST_VIDEO_MAX_PLANES] = {};
  for (guint plane = 0; plane < count; ++plane) {
    offsets[plane] = static_cast<gsize>(planes.plane[plane] - planes.plane[0]);
    strides[plane] = planes.stride[plane];
    size = offsets[plane] + static_cast<gsize>(planes.stride[plane]) *
                                static_cast<gsize>(GST_VIDEO_FORMAT_INFO_SCALE_HEIGHT(info_.finfo, plane == 0 ? 0 : 1,
                                                                                      GST_VIDEO_INFO_HEIGHT(&info_)));
  }
  auto lent = std::make_unique<Lent>(Lent{library, std::move(read)});
  GstBuffer* buffer = gst_buffer_new();
  gst_buffer_append_memory(buffer,
                           gst_memory_new_wrapped(GST_MEMORY_FLAG_READONLY, planes.plane[0], size, 0, size, lent.get(),
                                                  [](gpointer data) { delete static_cast<Lent*>(data); }));
  static_cast<void>(lent.release());
  if (metaAllowed_) {
    gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_INFO_FORMAT(&info_),
                                   static_cast<guint>(planes.width), static_cast<guint>(planes.height), count, offsets,
                                   strides);
  }
  return buffer;
}

GstBuffer* FrameOutput::Copy(const QVGPixelBuffer& read, bool straighten) const {
  GstBuffer* buffer = gst_buffer_new_allocate(nullptr, GST_VIDEO_INFO_SIZE(&info_), nullptr);
  GstVideoFrame frame;
  if (buffer == nullptr || !gst_video_frame_map(&frame, &info_, buffer, GST_MAP_WRITE)) {
    if (buffer != nullptr) gst_buffer_unref(buffer);
    return nullptr;
  }
  const ReadRows from = {read.plane[0], read.stride[0]};
  const WriteRows to = {static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)),
                        GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0)};
  if (GST_VIDEO_INFO_IS_YUV(&info_)) {
    for (guint plane = 0; plane < GST_VIDEO_INFO_N_PLANES(&info_); ++plane) {
      const int rows = GST_VIDEO_FRAME_COMP_HEIGHT(&frame, plane),
                bytes = GST_VIDEO_FRAME_COMP_WIDTH(&frame, plane) * GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, plane);
      for (int y = 0; y < rows; ++y) {
        std::memcpy(static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane)) +
                        ptrdiff_t{y} * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane),
                    read.plane[plane] + ptrdiff_t{y} * read.stride[plane], static_cast<size_t>(bytes));
      }
    }
  } else if (GST_VIDEO_INFO_COMP_PSTRIDE(&info_, 0) == 3) {
    CopyWithoutAlpha(from, to, read.width, read.height);
  } else if (straighten) {
    CopyStraight(from, to, read.width, read.height);
  } else {
    for (int y = 0; y < read.height; ++y) {
      std::memcpy(to.Row(y), from.Row(y), static_cast<size_t>(read.width) * 4);
    }
  }
  gst_video_frame_unmap(&frame);
  return buffer;
}

GstBuffer* FrameOutput::PassOn(GstBuffer* frame) const {
  const GstVideoMeta* meta = gst_buffer_get_video_meta(frame);
  const guint planes = GST_VIDEO_INFO_N_PLANES(&info_);
  if (metaAllowed_ || meta == nullptr ||
      (std::equal(meta->offset, meta->offset + planes, info_.offset) &&
       std::equal(meta->stride, meta->stride + planes, info_.stride))) {
    return gst_buffer_ref(frame);
  }
  GstVideoFrame from, to;
  if (!gst_video_frame_map(&from, &info_, frame, GST_MAP_READ)) return nullptr;
  GstBuffer* copy = gst_buffer_new_allocate(nullptr, GST_VIDEO_INFO_SIZE(&info_), nullptr);
  if (copy != nullptr && gst_video_frame_map(&to, &info_, copy, GST_MAP_WRITE)) {
    gst_video_frame_copy(&to, &from);
    gst_video_frame_unmap(&to);
  } else {
    gst_clear_buffer(&copy);
  }
  gst_video_frame_unmap(&from);
  return copy;
}

GstBuffer* FrameOutput::Read(const qvg::Texture& texture, AlphaForm form,
                             const std::shared_ptr<qvg::Library>& library) const {
  qvg::ReadBack read = ReadAs(WayOf(GST_VIDEO_INFO_FORMAT(&info_)), texture);
  if (!read) return nullptr;
  const bool straighten = form == AlphaForm::kPremultiplied && GST_VIDEO_INFO_HAS_ALPHA(&info_) &&
                          !AllOpaque({read->plane[0], read->stride[0]}, read->width, read->height, 3);
  const bool packed = GST_VIDEO_INFO_IS_RGB(&info_) && GST_VIDEO_INFO_COMP_PSTRIDE(&info_, 0) == 3;
  if (straighten || packed || (!metaAllowed_ && !Fits(*read))) return Copy(*read, straighten);
  return Lend(std::move(read), library);
}

}  // namespace qvgst
