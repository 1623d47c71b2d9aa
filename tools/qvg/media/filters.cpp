#include "media/filters.h"

#include "media/colorConversion.h"
#include "media/filterChain.h"

extern "C" {
#include <libavutil/avstring.h>
}

namespace qvgtool {

FramePtr Filtered(const AVFrame& frame, const std::string& chain) {
  const auto filters = FilterChain::Make(frame, {1, 1}, chain);
  if (!filters) return nullptr;
  const FramePtr send = Checked(FramePtr(av_frame_clone(&frame)));
  send->pts = 0;
  return filters->Send(send.get()) && filters->Send(nullptr) ? filters->Take() : nullptr;
}

std::string FilterText(const std::string& text) {
  std::string escaped = text;
  // For the list of a filter's options, and for the chain around it.
  for (const char* special : {":", ",;[]"}) {
    char* result = nullptr;
    if (av_escape(&result, escaped.c_str(), special, AV_ESCAPE_MODE_BACKSLASH, 0) < 0) throw std::bad_alloc();
    escaped = result;
    av_free(result);
  }
  return escaped;
}

FramePtr Upright(const AVFrame& frame, int quarterTurns) {
  static constexpr const char* kChains[] = {"null", "transpose=clock", "hflip,vflip", "transpose=cclock"};
  FramePtr turned = Filtered(frame, kChains[quarterTurns % 4]);
  if (!turned) throw Error("FFmpeg's filters that turn a picture are missing: " + FfmpegError(AVERROR(EINVAL)));
  // What is guessed from the number of lines would change with them.
  turned->colorspace = TagsOf(frame).matrix;
  return turned;
}

}  // namespace qvgtool
