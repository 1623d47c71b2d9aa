#include "media/colorConversion.h"

#include <fmt/format.h>

#include <algorithm>
#include <thread>

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace qvgtool {
namespace {

constexpr struct {
  AVPixelFormat format;
  QVGPixelFormat upload;
} kUploadFormats[] = {
    {AV_PIX_FMT_NV12, QVG_FORMAT_NV12},       {AV_PIX_FMT_P010LE, QVG_FORMAT_YUV16_SP},
    {AV_PIX_FMT_P016LE, QVG_FORMAT_YUV16_SP}, {AV_PIX_FMT_YUV420P, QVG_FORMAT_I420},
    {AV_PIX_FMT_YUV422P, QVG_FORMAT_I422},    {AV_PIX_FMT_YUV444P, QVG_FORMAT_I444},
    {AV_PIX_FMT_YUVJ420P, QVG_FORMAT_J420},   {AV_PIX_FMT_YUVJ422P, QVG_FORMAT_J422},
    {AV_PIX_FMT_YUVJ444P, QVG_FORMAT_J444},   {AV_PIX_FMT_RGBA, QVG_FORMAT_RGBA},
    {AV_PIX_FMT_ARGB, QVG_FORMAT_ARGB},       {AV_PIX_FMT_BGRA, QVG_FORMAT_BGRA},
    {AV_PIX_FMT_ABGR, QVG_FORMAT_ABGR},       {AV_PIX_FMT_RGB24, QVG_FORMAT_RGB},
    {AV_PIX_FMT_BGR24, QVG_FORMAT_BGR},
};

// The scaler derives the range of these formats from their name: they are handed to it under their plain name.
constexpr struct {
  AVPixelFormat full, plain;
} kFullRangeNames[] = {{AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV420P},
                       {AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUV422P},
                       {AV_PIX_FMT_YUVJ444P, AV_PIX_FMT_YUV444P},
                       {AV_PIX_FMT_YUVJ440P, AV_PIX_FMT_YUV440P},
                       {AV_PIX_FMT_YUVJ411P, AV_PIX_FMT_YUV411P}};

AVPixelFormat PlainName(AVPixelFormat format) {
  for (const auto& name : kFullRangeNames) {
    if (name.full == format) return name.plain;
  }
  return format;
}

FramePtr PlainNamed(const AVFrame& frame) {
  FramePtr plain = Checked(FramePtr(av_frame_clone(&frame)));
  plain->format = PlainName(static_cast<AVPixelFormat>(frame.format));
  return plain;
}

bool IsGray(AVPixelFormat format) {
  const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(format);
  return pixels && pixels->nb_components <= 2 && !(pixels->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL));
}

bool HasHalfChroma(int format) {
  const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
  return pixels && pixels->log2_chroma_w == 1;
}

// Where chroma lies between the pixels it belongs to: video has it at the left one if it doesn't say otherwise, images
// of full range in the middle, which is also what the scaler takes when it isn't told.
constexpr int64_t kDefaultPosition = -513;
bool HasChromaLeft(const AVFrame& frame) {
  switch (frame.chroma_location) {
    case AVCHROMA_LOC_UNSPECIFIED:
      return HasHalfChroma(frame.format) && PlainName(static_cast<AVPixelFormat>(frame.format)) == frame.format;
    case AVCHROMA_LOC_LEFT:
    case AVCHROMA_LOC_TOPLEFT:
    case AVCHROMA_LOC_BOTTOMLEFT:
      return HasHalfChroma(frame.format);
    default:
      return false;
  }
}

bool TopDown(const AVFrame& frame) {
  for (int plane = 0; plane < 3; ++plane) {
    if (frame.linesize[plane] < 0) return false;
  }
  return true;
}

}  // namespace

std::optional<QVGPixelFormat> UploadFormat(AVPixelFormat format) {
  for (const auto& row : kUploadFormats) {
    if (row.format == format) return row.upload;
  }
  return std::nullopt;
}

bool ColorTags::IsFullRange601() const {
  return rgb || (fullRange && (matrix == AVCOL_SPC_SMPTE170M || matrix == AVCOL_SPC_BT470BG));
}

ColorTags TagsOf(const AVFrame& frame) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(format);
  if (pixels && (pixels->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL))) return {.rgb = true, .fullRange = true};
  ColorTags tags;
  tags.fullRange = frame.color_range == AVCOL_RANGE_JPEG || PlainName(format) != format ||
                   (frame.color_range == AVCOL_RANGE_UNSPECIFIED && IsGray(format));
  tags.matrix = frame.colorspace;
  if (tags.matrix == AVCOL_SPC_UNSPECIFIED || tags.matrix == AVCOL_SPC_RGB || tags.matrix == AVCOL_SPC_RESERVED) {
    tags.matrix = frame.height <= 576 || PlainName(format) != format ? AVCOL_SPC_SMPTE170M : AVCOL_SPC_BT709;
  }
  return tags;
}

void ColorConverter::_MakeScaler(const Key& key) {
  // Rounding that brings every level back, chroma at full width: the fast paths are off by a step or more.
  const bool smaller = key.width < key.sourceWidth || key.height < key.sourceHeight;
  const int flags = (smaller ? SWS_AREA : SWS_BILINEAR) | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
  scaler_ = Checked(ScalerPtr(sws_alloc_context()));
  SwsContext* scaler = scaler_.get();
  const std::pair<const char*, int64_t> settings[] = {
      {"srcw", key.sourceWidth},
      {"srch", key.sourceHeight},
      {"src_format", key.sourceFormat},
      {"dstw", key.width},
      {"dsth", key.height},
      {"dst_format", key.format},
      {"src_range", key.sourceFull},
      {"dst_range", key.full},
      {"src_h_chr_pos", key.chromaLeft ? 0 : kDefaultPosition},
      {"dst_h_chr_pos", key.chromaLeft && HasHalfChroma(key.format) ? 0 : kDefaultPosition},
      {"sws_flags", flags},
      {"threads", std::clamp(std::thread::hardware_concurrency(), 1u, 4u)}};
  for (const auto& [name, value] : settings) av_opt_set_int(scaler, name, value, 0);
  const int made = sws_init_context(scaler, nullptr, nullptr);
  if (made < 0) {
    throw Error(fmt::format("no conversion from {} to {}: {}",
                            av_get_pix_fmt_name(static_cast<AVPixelFormat>(key.sourceFormat)),
                            av_get_pix_fmt_name(static_cast<AVPixelFormat>(key.format)), FfmpegError(made)));
  }
  sws_setColorspaceDetails(scaler, sws_getCoefficients(key.sourceMatrix), key.sourceFull,
                           sws_getCoefficients(key.matrix), key.full, 0, 1 << 16, 1 << 16);
}

const AVFrame& ColorConverter::Convert(const AVFrame& source, AVPixelFormat format, int width, int height,
                                       const ColorTags& colors) {
  const auto sourceFormat = static_cast<AVPixelFormat>(source.format);
  const ColorTags tags = TagsOf(source);
  const Key key{
      PlainName(sourceFormat), source.width,   source.height,    PlainName(format),    width, height, tags.matrix,
      colors.matrix,           tags.fullRange, colors.fullRange, HasChromaLeft(source)};
  if (key_ != key) {
    key_.reset();
    _MakeScaler(key);
    result_ = NewFrame(PlainName(format), width, height);
    key_ = key;
  }
  result_->format = key.format;
  const int scaled = sws_scale_frame(scaler_.get(), result_.get(), PlainNamed(source).get());
  if (scaled < 0) throw Error(fmt::format("a frame could not be converted: {}", FfmpegError(scaled)));
  result_->format = format;
  result_->color_range = colors.fullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  result_->colorspace = colors.rgb ? AVCOL_SPC_RGB : colors.matrix;
  result_->pts = source.pts;
  return *result_;
}

const AVFrame& UploadConverter::Prepare(const AVFrame& frame) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  const ColorTags tags = TagsOf(frame);
  const bool known = UploadFormat(format).has_value() && (tags.rgb || path_ == UploadPath::kNative);
  if (known && TopDown(frame) && tags.IsFullRange601()) return frame;
  if (known && !tags.rgb) {
    return converter_.Convert(frame, format, frame.width, frame.height,
                              {.fullRange = true, .matrix = AVCOL_SPC_SMPTE170M});
  }
  return converter_.Convert(frame, AV_PIX_FMT_RGBA, frame.width, frame.height, {.rgb = true, .fullRange = true});
}

}  // namespace qvgtool
