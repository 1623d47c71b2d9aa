#include "media/fixedRate.h"

#include <cmath>

namespace qvgtool {

FixedRate::FixedRate(std::unique_ptr<FrameSource> source, double rate)
    : FrameAdapter(std::move(source)), format_(Source().Format()), next_(Source().Read()) {
  const double factor = rate * av_q2d(av_inv_q(format_.frameRate));
  if (!format_.still) format_.frameCount = std::llround(static_cast<double>(format_.frameCount) * factor);
  format_.frameRate = av_d2q(rate, 100000);
  format_.timeBase = av_inv_q(format_.frameRate);
}

double FixedRate::_Begin(const AVFrame& frame) const {
  return static_cast<double>(frame.pts) * av_q2d(Source().Format().timeBase);
}

FramePtr FixedRate::Read() {
  const double seconds = static_cast<double>(count_) * av_q2d(format_.timeBase);
  // Of frames that begin with it, up to rounding, the last one.
  const double due = seconds + av_q2d(format_.timeBase) / 100;
  while (next_ && (!shown_ || _Begin(*next_) <= due)) {
    shown_ = std::move(next_);
    next_ = Source().Read();
  }
  if (!shown_) return nullptr;
  // The last one stays for as long as it was to stay.
  const double last = _Begin(*shown_) + av_q2d(av_inv_q(Source().Format().frameRate));
  if (!next_ && count_ > 0 && seconds > last - av_q2d(format_.timeBase) / 2) return nullptr;
  FramePtr frame = Checked(FramePtr(av_frame_clone(shown_.get())));
  frame->pts = count_++;
  return frame;
}

}  // namespace qvgtool
