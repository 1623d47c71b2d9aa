#include "media/ffmpeg/filters.h"

#include "media/ffmpeg/filterChain.h"

extern "C" {
#include <libavutil/avstring.h>
}

namespace qvgtool {

AvFramePtr Filtered(const AVFrame& frame, const std::string& chain) {
  const auto filters = FilterChain::Make(frame, {1, 1}, chain);
  if (!filters) return nullptr;
  const AvFramePtr send = Checked(AvFramePtr(av_frame_clone(&frame)));
  send->pts = 0;
  return filters->Send(send.get()) && filters->Send(nullptr) ? filters->Take() : nullptr;
}

std::string FilterText(const std::string& text) {
  std::string escaped = text;
  // Escaped twice: for the filter's list of options, and for the chain around it.
  for (const char* special : {":", ",;[]"}) {
    char* result = nullptr;
    if (av_escape(&result, escaped.c_str(), special, AV_ESCAPE_MODE_BACKSLASH, 0) < 0) throw std::bad_alloc();
    escaped = result;
    av_free(result);
  }
  return escaped;
}

}  // namespace qvgtool
