#include "media/fixedRate.h"

#include <cmath>

namespace qvgtool {

FixedRate::FixedRate(std::unique_ptr<FrameSource> source, double rate)
    : FrameAdapter(std::move(source)), format_(Source().Format()), next_(Source().Read()) {
  const double factor = rate * Value(Inverse(format_.frameRate));
  if (!format_.still) format_.frameCount = std::llround(static_cast<double>(format_.frameCount) * factor);
  format_.frameRate = NearestRational(rate, 100000);
  format_.timeBase = Inverse(format_.frameRate);
}

double FixedRate::_Begin(const Frame& frame) const {
  return static_cast<double>(frame.pts) * Value(Source().Format().timeBase);
}

FramePtr FixedRate::Read() {
  const double seconds = static_cast<double>(count_) * Value(format_.timeBase);
  // Of several frames that begin at this time, up to rounding, the last one is shown.
  const double due = seconds + Value(format_.timeBase) / 100;
  while (next_ && (!shown_ || _Begin(*next_) <= due)) {
    shown_ = std::move(next_);
    next_ = Source().Read();
  }
  if (!shown_) return nullptr;
  // The last frame keeps its own duration.
  const double last = _Begin(*shown_) + Value(Inverse(Source().Format().frameRate));
  if (!next_ && count_ > 0 && seconds > last - Value(format_.timeBase) / 2) return nullptr;
  FramePtr frame = SharedCopy(*shown_);
  frame->pts = count_++;
  return frame;
}

}  // namespace qvgtool
