#include "media/ffmpeg/avFrame.h"

#include <algorithm>
#include <cstdlib>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace qvgtool {
namespace {

constexpr struct {
  PixelFormat own;
  AVPixelFormat ffmpeg;
} kFormats[] = {
    {PixelFormat::kNone, AV_PIX_FMT_NONE},     {PixelFormat::kNV12, AV_PIX_FMT_NV12},
    {PixelFormat::kP010, AV_PIX_FMT_P010LE},   {PixelFormat::kP016, AV_PIX_FMT_P016LE},
    {PixelFormat::kI420, AV_PIX_FMT_YUV420P},  {PixelFormat::kI422, AV_PIX_FMT_YUV422P},
    {PixelFormat::kI444, AV_PIX_FMT_YUV444P},  {PixelFormat::kJ420, AV_PIX_FMT_YUVJ420P},
    {PixelFormat::kJ422, AV_PIX_FMT_YUVJ422P}, {PixelFormat::kJ444, AV_PIX_FMT_YUVJ444P},
    {PixelFormat::kRGBA, AV_PIX_FMT_RGBA},     {PixelFormat::kARGB, AV_PIX_FMT_ARGB},
    {PixelFormat::kBGRA, AV_PIX_FMT_BGRA},     {PixelFormat::kABGR, AV_PIX_FMT_ABGR},
    {PixelFormat::kRGB, AV_PIX_FMT_RGB24},     {PixelFormat::kBGR, AV_PIX_FMT_BGR24},
};

constexpr struct {
  AVPixelFormat full, plain;
} kFullRangeNames[] = {{AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV420P},
                       {AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUV422P},
                       {AV_PIX_FMT_YUVJ444P, AV_PIX_FMT_YUV444P},
                       {AV_PIX_FMT_YUVJ440P, AV_PIX_FMT_YUV440P},
                       {AV_PIX_FMT_YUVJ411P, AV_PIX_FMT_YUV411P}};

bool IsGray(const AVPixFmtDescriptor& pixels) {
  return pixels.nb_components <= 2 && !(pixels.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL));
}

ColorTags TagsOf(const AVFrame& frame, const AVPixFmtDescriptor& pixels) {
  if (pixels.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) return kRgbColors;
  const auto format = static_cast<AVPixelFormat>(frame.format);
  const bool fullByName = PlainName(format) != format;
  ColorTags tags;
  tags.fullRange = frame.color_range == AVCOL_RANGE_JPEG || fullByName ||
                   (frame.color_range == AVCOL_RANGE_UNSPECIFIED && IsGray(pixels));
  tags.matrix = frame.colorspace;
  if (tags.matrix == AVCOL_SPC_UNSPECIFIED || tags.matrix == AVCOL_SPC_RGB || tags.matrix == AVCOL_SPC_RESERVED) {
    tags.matrix = fullByName ? static_cast<int>(AVCOL_SPC_SMPTE170M) : GuessedMatrix(frame.height);
  }
  return tags;
}

// Whether chroma is sited at the left of the two pixels that share it: in video, unless it says otherwise. In
// full-range images it lies midway.
bool HasChromaLeft(const AVFrame& frame) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  switch (frame.chroma_location) {
    case AVCHROMA_LOC_UNSPECIFIED:
      return HasHalfChroma(format) && PlainName(format) == format;
    case AVCHROMA_LOC_LEFT:
    case AVCHROMA_LOC_TOPLEFT:
    case AVCHROMA_LOC_BOTTOMLEFT:
      return HasHalfChroma(format);
    default:
      return false;
  }
}

}  // namespace

AVPixelFormat ToAv(PixelFormat format) {
  for (const auto& row : kFormats) {
    if (row.own == format) return row.ffmpeg;
  }
  return static_cast<AVPixelFormat>(static_cast<int>(format) - static_cast<int>(PixelFormat::kOther));
}

PixelFormat FromAv(AVPixelFormat format) {
  for (const auto& row : kFormats) {
    if (row.ffmpeg == format) return row.own;
  }
  return static_cast<PixelFormat>(static_cast<int>(PixelFormat::kOther) + static_cast<int>(format));
}

AVPixelFormat PlainName(AVPixelFormat format) {
  for (const auto& name : kFullRangeNames) {
    if (name.full == format) return name.plain;
  }
  return format;
}

bool MayHaveAlpha(AVPixelFormat format) {
  const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(format);
  return pixels && (pixels->flags & (AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_PAL)) != 0;
}

bool HasHalfChroma(AVPixelFormat format) {
  const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(format);
  return pixels && pixels->log2_chroma_w == 1;
}

AvFramePtr ToAv(const Frame& frame) {
  AvFramePtr av = NewAvFrame();
  const AVPixelFormat format = ToAv(frame.format);
  av->format = format;
  av->width = frame.width;
  av->height = frame.height;
  for (size_t plane = 0; plane < frame.data.size(); ++plane) {
    av->data[plane] = frame.data[plane];
    av->linesize[plane] = frame.stride[plane];
  }
  av->pts = frame.pts;
  av->color_range = frame.colors.fullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  av->colorspace = frame.colors.rgb ? AVCOL_SPC_RGB : static_cast<AVColorSpace>(frame.colors.matrix);
  av->color_primaries = static_cast<AVColorPrimaries>(frame.primaries);
  av->color_trc = static_cast<AVColorTransferCharacteristic>(frame.transfer);
  av->chroma_location = frame.chromaLeft        ? AVCHROMA_LOC_LEFT
                        : HasHalfChroma(format) ? AVCHROMA_LOC_CENTER
                                                : AVCHROMA_LOC_UNSPECIFIED;
  auto memory = std::make_unique<std::shared_ptr<void>>(frame.memory);
  const auto release = [](void* opaque, uint8_t*) { delete static_cast<std::shared_ptr<void>*>(opaque); };
  const size_t size = static_cast<size_t>(std::abs(frame.stride[0])) * static_cast<size_t>(frame.height);
  av->buf[0] = av_buffer_create(frame.data[0], size, release, memory.get(), AV_BUFFER_FLAG_READONLY);
  if (!av->buf[0]) throw std::bad_alloc();
  static_cast<void>(memory.release());  // The buffer owns it now.
  return av;
}

FramePtr FromAv(AvFramePtr av) {
  auto frame = std::make_unique<Frame>();
  const auto format = static_cast<AVPixelFormat>(av->format);
  frame->format = FromAv(format);
  frame->width = av->width;
  frame->height = av->height;
  std::copy_n(av->data, frame->data.size(), frame->data.begin());
  std::copy_n(av->linesize, frame->stride.size(), frame->stride.begin());
  frame->pts = av->pts;
  frame->alpha = MayHaveAlpha(format);
  if (const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(format)) frame->colors = TagsOf(*av, *pixels);
  frame->chromaLeft = HasChromaLeft(*av);
  frame->primaries = av->color_primaries;
  frame->transfer = av->color_trc;
  frame->memory = std::shared_ptr<AVFrame>(av.release(), AvFramePtr::deleter_type());
  return frame;
}

}  // namespace qvgtool
