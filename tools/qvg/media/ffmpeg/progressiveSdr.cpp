#include "media/ffmpeg/progressiveSdr.h"

#include <fmt/format.h>

#include <algorithm>

extern "C" {
#include <libavutil/mastering_display_metadata.h>
}

namespace qvgtool {
namespace {

// Diffuse white in a high-range picture has this luminance (ITU-R BT.2408) and stays near white. What is brighter is
// compressed, up to the peak that the picture declares.
constexpr double kWhiteNits = 203;
constexpr double kUsualPeakNits = 1000;

bool IsHighRange(const AVFrame& frame) {
  return frame.color_trc == AVCOL_TRC_SMPTE2084 || frame.color_trc == AVCOL_TRC_ARIB_STD_B67;
}

double PeakNits(const AVFrame& frame) {
  double nits = 0;
  if (const auto* side = av_frame_get_side_data(&frame, AV_FRAME_DATA_CONTENT_LIGHT_LEVEL)) {
    nits = reinterpret_cast<const AVContentLightMetadata*>(side->data)->MaxCLL;
  }
  if (const auto* side = av_frame_get_side_data(&frame, AV_FRAME_DATA_MASTERING_DISPLAY_METADATA); side && nits <= 0) {
    const auto* display = reinterpret_cast<const AVMasteringDisplayMetadata*>(side->data);
    if (display->has_luminance) nits = av_q2d(display->max_luminance);
  }
  return nits > kWhiteNits ? nits : kUsualPeakNits;
}

std::string ToneMapping(const AVFrame& frame) {
  return fmt::format(
      "zscale=transfer=linear:npl={},format=gbrpf32le,zscale=primaries=bt709,tonemap=mobius:peak={:.3f},"
      "zscale=transfer=bt709,format=gbrp",
      kWhiteNits, PeakNits(frame) / kWhiteNits);
}

// The conversion needs these tags; where they are missing, players assume the same.
void CompleteHighRangeTags(AVFrame& frame) {
  if (frame.color_primaries == AVCOL_PRI_UNSPECIFIED) frame.color_primaries = AVCOL_PRI_BT2020;
  if (frame.colorspace == AVCOL_SPC_UNSPECIFIED) frame.colorspace = AVCOL_SPC_BT2020_NCL;
}

}  // namespace

std::string ProgressiveSdr::_ChainFor(const AVFrame& frame) {
  interlaced_ = interlaced_ || (deinterlace_ && frame.interlaced_frame != 0);
  std::string chain;
  if (interlaced_) chain = "bwdif=mode=send_frame:deint=interlaced";
  if (IsHighRange(frame)) chain += (chain.empty() ? "" : ",") + ToneMapping(frame);
  return chain;
}

void ProgressiveSdr::Send(AvFramePtr frame) {
  if (!frame) return _Drain();
  const std::string wanted = _ChainFor(*frame);
  const bool highRange = IsHighRange(*frame);
  if (highRange) CompleteHighRangeTags(*frame);
  const std::string key = wanted.empty()
                              ? wanted
                              : fmt::format("{} {}x{} {} {} {} {}", wanted, frame->width, frame->height, frame->format,
                                            static_cast<int>(frame->color_trc), static_cast<int>(frame->colorspace),
                                            static_cast<int>(frame->color_range));
  if (key != made_) {
    _Drain();
    if (!wanted.empty()) chain_ = FilterChain::Make(*frame, timeBase_, wanted);
    made_ = key;
  }
  if (wanted.empty()) {
    ready_.push_back(std::move(frame));
  } else if (!chain_ || !chain_->Send(frame.get())) {
    throw Error(highRange ? fmt::format("{}: pictures of high dynamic range can't be brought to the standard one here: "
                                        "{}; convert them first, or use an FFmpeg with its filters zscale and tonemap",
                                        name_, FfmpegError(AVERROR(EINVAL)))
                          : fmt::format("{}: can't be deinterlaced here: {}; --no-deinterlace keeps the lines", name_,
                                        FfmpegError(AVERROR(EINVAL))));
  }
}

AvFramePtr ProgressiveSdr::Take() {
  if (ready_.empty() && chain_) {
    if (AvFramePtr frame = chain_->Take()) {
      if (frame->pts != AV_NOPTS_VALUE) frame->pts = av_rescale_q(frame->pts, chain_->TimeBase(), timeBase_);
      return frame;
    }
  }
  if (ready_.empty()) return nullptr;
  AvFramePtr frame = std::move(ready_.front());
  ready_.pop_front();
  return frame;
}

void ProgressiveSdr::Reset() {
  ready_.clear();
  chain_.reset();
  made_.clear();
}

void ProgressiveSdr::_Drain() {
  if (!chain_) return;
  chain_->Send(nullptr);
  std::deque<AvFramePtr> rest;
  while (AvFramePtr frame = Take()) rest.push_back(std::move(frame));
  ready_ = std::move(rest);
  chain_.reset();
}

}  // namespace qvgtool
