#include "media/frameEdits.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "media/ffmpeg/avFrame.h"
#include "media/ffmpeg/filters.h"

namespace qvgtool {
namespace {

// A caption on a box; y: a formula for FFmpeg's filter.
std::string Boxed(const Caption& caption, const char* y) {
  return fmt::format(
      "drawtext=font=DejaVu Sans Mono:fontsize={:.0f}:fontcolor=white:line_spacing={:.0f}:box=1:boxcolor=black@0.72"
      ":boxborderw={:.0f}:expansion=none:x=(w-text_w)/2:y={}:text={}",
      caption.size, caption.size * 0.2, caption.size * 0.6, y, FilterText(caption.text));
}

std::string FilterOf(const Caption& caption) {
  switch (caption.place) {
    case Caption::kMiddle:
      return Boxed(caption, "(h-text_h)/2");
    case Caption::kBelow:
      return Boxed(caption, "h-text_h-1.5*lh");
    default:
      return fmt::format(
          "drawtext=font=DejaVu Sans:fontsize={:.0f}:fontcolor=0xd8dbe2:expansion=none:x={}:y={}:text='{}'",
          caption.size, caption.x, caption.y, caption.text);
  }
}

}  // namespace

FramePtr Upright(const Frame& frame, int quarterTurns) {
  static constexpr const char* kChains[] = {nullptr, "transpose=clock", "hflip,vflip", "transpose=cclock"};
  const char* const chain = kChains[quarterTurns % 4];
  if (!chain) return SharedCopy(frame);
  AvFramePtr turned = Filtered(*ToAv(frame), chain);
  if (!turned) throw Error("FFmpeg's filters that turn a picture are missing: " + FfmpegError(AVERROR(EINVAL)));
  FramePtr result = FromAv(std::move(turned));
  result->colors = frame.colors;
  return result;
}

FramePtr Widened(const Frame& frame, int width) {
  AvFramePtr scaled = Filtered(*ToAv(frame), fmt::format("scale=w={}:h=ih", width));
  if (!scaled) throw Error("a frame can't be fitted into the first clip's: " + FfmpegError(AVERROR(EINVAL)));
  return FromAv(std::move(scaled));
}

void CutTo(Frame& frame, int width, int height) {
  if (width < 1 || height < 1) return;
  const double shape = static_cast<double>(width) / height;
  const int keptWidth = std::clamp(static_cast<int>(std::lround(frame.height * shape)), 1, frame.width);
  const int keptHeight = std::clamp(static_cast<int>(std::lround(frame.width / shape)), 1, frame.height);
  AvFramePtr cut = ToAv(frame);
  cut->crop_left = static_cast<size_t>(frame.width - keptWidth) / 2;
  cut->crop_right = static_cast<size_t>(frame.width - keptWidth) - cut->crop_left;
  cut->crop_top = static_cast<size_t>(frame.height - keptHeight) / 2;
  cut->crop_bottom = static_cast<size_t>(frame.height - keptHeight) - cut->crop_top;
  av_frame_apply_cropping(cut.get(), AV_FRAME_CROP_UNALIGNED);
  const ColorTags colors = frame.colors;
  frame = *FromAv(std::move(cut));
  frame.colors = colors;
}

FramePtr WithCaptions(const Frame& picture, const std::vector<Caption>& captions, std::string& reason) {
  if (captions.empty()) return SharedCopy(picture);
  std::string chain;
  for (const Caption& caption : captions) chain += (chain.empty() ? "" : ",") + FilterOf(caption);
  AvFramePtr labelled = Filtered(*ToAv(picture), chain);
  if (!labelled) reason = FfmpegError(AVERROR(ENOENT));
  return labelled ? FromAv(std::move(labelled)) : nullptr;
}

}  // namespace qvgtool
