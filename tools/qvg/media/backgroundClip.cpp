#include "media/backgroundClip.h"

#include "media/frameEdits.h"

namespace qvgtool {

BackgroundClip::BackgroundClip(const std::string& path) : path_(path) {
  if (!_Begin(0)) throw Error(path + ": no picture could be decoded");
}

bool BackgroundClip::_Begin(double start) {
  reader_ = OpenMedia(path_, {.sound = false});
  next_ = reader_->Read();
  start_ = start;
  return next_ != nullptr;
}

FramePtr BackgroundClip::At(double seconds) {
  const VideoFormat& format = reader_->Format();
  const double frameSeconds = Value(Inverse(format.frameRate));
  FramePtr shown;
  while (next_) {
    const double begins = start_ + static_cast<double>(next_->pts) * Value(format.timeBase);
    // A frame that begins at the picture's own time, up to rounding, is the one to show.
    if (begins > seconds + frameSeconds / 100) break;
    shown = std::move(next_);
    next_ = reader_->Read();
    if (!next_ && !format.still) _Begin(begins + frameSeconds);
  }
  return shown ? Upright(*shown, format.quarterTurns) : nullptr;
}

}  // namespace qvgtool
