#include "media/colorConversion.h"

#include <fmt/format.h>

#include <algorithm>
#include <thread>

#include "media/ffmpeg/avFrame.h"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace qvgtool {
namespace {

// Chroma midway between its pixels: the scaler's default where it isn't told.
constexpr int64_t kDefaultPosition = -513;

struct Key {
  AVPixelFormat sourceFormat;
  int sourceWidth, sourceHeight;
  AVPixelFormat format;
  int width, height;
  int sourceMatrix, matrix;
  bool sourceFull, full, chromaLeft;
  bool operator==(const Key&) const = default;
};

ScalerPtr MakeScaler(const Key& key) {
  // Exact rounding, and chroma at full width: the fast paths are off by a step or more.
  const bool smaller = key.width < key.sourceWidth || key.height < key.sourceHeight;
  const int flags = (smaller ? SWS_AREA : SWS_BILINEAR) | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
  ScalerPtr made = Checked(ScalerPtr(sws_alloc_context()));
  SwsContext* const scaler = made.get();
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
  const int result = sws_init_context(scaler, nullptr, nullptr);
  if (result < 0) {
    throw Error(fmt::format("no conversion from {} to {}: {}", av_get_pix_fmt_name(key.sourceFormat),
                            av_get_pix_fmt_name(key.format), FfmpegError(result)));
  }
  sws_setColorspaceDetails(scaler, sws_getCoefficients(key.sourceMatrix), key.sourceFull,
                           sws_getCoefficients(key.matrix), key.full, 0, 1 << 16, 1 << 16);
  return made;
}

}  // namespace

struct ColorConverter::State {
  std::optional<Key> key;
  ScalerPtr scaler;
  Frame result;  // Its memory is the scaler's target.
  AvFramePtr target;
};

ColorConverter::ColorConverter() : state_(std::make_unique<State>()) {}
ColorConverter::~ColorConverter() = default;

const Frame& ColorConverter::Convert(const Frame& source, PixelFormat format, int width, int height,
                                     const ColorTags& colors) {
  const AVPixelFormat wanted = ToAv(format), plain = PlainName(wanted);
  const AvFramePtr from = ToAv(source);
  from->format = PlainName(ToAv(source.format));
  const Key key{static_cast<AVPixelFormat>(from->format),
                source.width,
                source.height,
                plain,
                width,
                height,
                source.colors.matrix,
                colors.matrix,
                source.colors.fullRange,
                colors.fullRange,
                source.chromaLeft};
  if (state_->key != key) {
    state_->key.reset();
    state_->scaler = MakeScaler(key);
    state_->target = NewAvFrame(plain, width, height);
    state_->key = key;
  }
  AVFrame& target = *state_->target;
  const int scaled = sws_scale_frame(state_->scaler.get(), &target, from.get());
  if (scaled < 0) throw Error(fmt::format("a frame could not be converted: {}", FfmpegError(scaled)));
  state_->result = *FromAv(Checked(AvFramePtr(av_frame_clone(&target))));
  state_->result.format = format;
  state_->result.colors = colors;
  state_->result.pts = source.pts;
  return state_->result;
}

}  // namespace qvgtool
