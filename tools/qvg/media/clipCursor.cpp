#include "media/clipCursor.h"

#include <algorithm>
#include <cmath>

namespace qvgtool {
namespace {

constexpr size_t kFramesKept = 8;

}  // namespace

double ClipCursor::TimeOf(const Frame& frame) const {
  return static_cast<double>(frame.pts) * Value(source_->Format().timeBase);
}

bool ClipCursor::_Read() {
  FramePtr frame = source_->Read();
  if (!frame) return false;
  frames_.push_back(std::move(frame));
  return true;
}

const Frame* ClipCursor::Next() {
  if (!_At(current_ + 1)) _Read();
  return _At(current_ + 1);
}

bool ClipCursor::Advance() {
  if (!Next()) return false;
  ++current_;
  while (current_ > kFramesKept) {
    frames_.pop_front();
    --current_;
  }
  return true;
}

bool ClipCursor::GoBack() {
  if (current_ > 0 && Current()) {
    --current_;
    return true;
  }
  return Current() && _GoBefore(TimeOf(*Current()));
}

bool ClipCursor::GoTo(double seconds) {
  if (!source_->Seek(std::max(0.0, seconds))) return false;
  frames_.clear();
  current_ = 0;
  return _Read() || _GoBefore(HUGE_VAL);
}

// Goes to the last frame before a time, or to the first of all: reads from a second before, or from as far as it takes.
bool ClipCursor::_GoBefore(double seconds) {
  const VideoFormat& format = source_->Format();
  const double end = static_cast<double>(format.frameCount) * Value(Inverse(format.frameRate));
  const double from = std::isfinite(seconds) ? seconds : end;
  for (double reach = 1;; reach *= 4) {
    const double start = std::max(0.0, from - reach);
    if (!source_->Seek(start)) return false;
    frames_.clear();
    while (_Read() && TimeOf(*frames_.back()) < seconds) {
      if (frames_.size() > kFramesKept) frames_.pop_front();
    }
    const bool reached = !frames_.empty() && TimeOf(*frames_.back()) >= seconds;
    const size_t before = frames_.size() - (reached ? 1 : 0);
    if (before == 0 && start > 0) continue;
    current_ = before > 0 ? before - 1 : 0;
    return !frames_.empty();
  }
}

}  // namespace qvgtool
