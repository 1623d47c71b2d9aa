#include "media/sequence.h"

#include <algorithm>
#include <cmath>

#include "media/frameEdits.h"

namespace qvgtool {
namespace {

constexpr Rational kUnit{1, 90000};
constexpr double kStillSeconds = 5;

double SecondsOf(const VideoFormat& format) {
  return format.still ? kStillSeconds : static_cast<double>(format.frameCount) * Value(Inverse(format.frameRate));
}

double PixelAspect(Rational aspect) { return aspect.num > 0 && aspect.den > 0 ? Value(aspect) : 1; }

Rational UprightAspect(const VideoFormat& format) {
  const bool lying = format.quarterTurns % 2 != 0 && format.pixelAspect.num > 0;
  return lying ? Inverse(format.pixelAspect) : format.pixelAspect;
}

}  // namespace

Sequence::Sequence(const std::vector<std::string>& paths, ReadOptions options) {
  options.subtitles = false;
  for (const std::string& path : paths) {
    if (options.from > 0) {
      const double seconds = SecondsOf(OpenMedia(path, {.sound = false})->Format());
      const bool skipped = options.from >= seconds && &path != &paths.back();
      if (skipped) {
        options.from -= seconds;
        continue;
      }
    }
    clips_.push_back(OpenMedia(path, options));
    options.from = 0;
  }
  _Describe();
  std::vector<Accompaniment*> along;
  for (const auto& clip : clips_) along.push_back(clip->Along());
  along_ = Joined(along, kUnit);
}

void Sequence::_Describe() {
  format_ = clips_.front()->Format();
  format_.pixelAspect = UprightAspect(format_);
  if (format_.quarterTurns % 2 != 0) std::swap(format_.width, format_.height);
  format_.quarterTurns = 0;
  format_.timeBase = kUnit;
  format_.still = false;
  double seconds = 0;
  for (const auto& clip : clips_) {
    seconds += SecondsOf(clip->Format());
    format_.alpha = format_.alpha || clip->Format().alpha;
  }
  format_.frameCount = std::llround(seconds * Value(format_.frameRate));
}

FramePtr Sequence::Read() {
  for (;;) {
    if (FramePtr frame = _ReadClip()) return frame;
    if (current_ + 1 >= clips_.size()) return nullptr;
    ++current_;
    start_ = end_;
    if (along_) along_->GoOn(start_);
    still_.reset();
  }
}

/// @return null at the clip's end.
FramePtr Sequence::_ReadClip() {
  FrameSource& clip = *clips_[current_];
  const VideoFormat& own = clip.Format();
  const Rational rate = own.still ? format_.frameRate : own.frameRate;
  const int64_t frameTime = std::max<int64_t>(1, Rescaled(1, Inverse(rate), kUnit));
  FramePtr frame;
  if (!still_) {
    frame = clip.Read();
    if (!frame) return nullptr;
    frame->pts = start_ + Rescaled(frame->pts, own.timeBase, kUnit);
    frame = _Fitted(std::move(frame), own);
    if (own.still) {
      still_ = SharedCopy(*frame);
      stillFrames_ = 1;
    }
  } else if (static_cast<double>(stillFrames_) < kStillSeconds * Value(rate)) {
    frame = SharedCopy(*still_);
    frame->pts = start_ + Rescaled(stillFrames_++, Inverse(rate), kUnit);
  } else {
    return nullptr;
  }
  end_ = frame->pts + frameTime;
  return frame;
}

FramePtr Sequence::_Fitted(FramePtr frame, const VideoFormat& format) const {
  const int64_t pts = frame->pts;
  const double wider = PixelAspect(UprightAspect(format)) / PixelAspect(format_.pixelAspect);
  if (format.quarterTurns != 0) frame = Upright(*frame, format.quarterTurns);
  if (std::abs(wider - 1) > 0.001) {
    frame = Widened(*frame, std::max(1, static_cast<int>(std::lround(frame->width * wider))));
  }
  frame->pts = pts;
  return frame;
}

std::string Sequence::Damage() const {
  for (const auto& clip : clips_) {
    if (std::string damage = clip->Damage(); !damage.empty()) return damage;
  }
  return {};
}

}  // namespace qvgtool
