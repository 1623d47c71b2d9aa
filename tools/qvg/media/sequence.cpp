#include "media/sequence.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "media/filters.h"

namespace qvgtool {
namespace {

constexpr AVRational kUnit{1, 90000};
constexpr double kStillSeconds = 5;

double SecondsOf(const VideoFormat& format) {
  return format.still ? kStillSeconds : static_cast<double>(format.frameCount) * av_q2d(av_inv_q(format.frameRate));
}

double PixelAspect(AVRational aspect) { return aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1; }

AVRational UprightAspect(const VideoFormat& format) {
  const bool lying = format.quarterTurns % 2 != 0 && format.pixelAspect.num > 0;
  return lying ? av_inv_q(format.pixelAspect) : format.pixelAspect;
}

// Packets of the one can follow those of the other in one stream.
bool Alike(const AVCodecParameters& a, const AVCodecParameters& b) {
  return a.codec_id == b.codec_id && a.sample_rate == b.sample_rate && a.format == b.format &&
         av_channel_layout_compare(&a.ch_layout, &b.ch_layout) == 0 && a.extradata_size == b.extradata_size &&
         (a.extradata_size == 0 || !std::memcmp(a.extradata, b.extradata, static_cast<size_t>(a.extradata_size)));
}

}  // namespace

Sequence::Sequence(const std::vector<std::string>& paths, ReadOptions options) {
  options.subtitles = false;
  for (const std::string& path : paths) {
    if (options.from > 0) {
      const double seconds = SecondsOf(MediaReader(path, {.sound = false}).Format());
      const bool skipped = options.from >= seconds && &path != &paths.back();
      if (skipped) {
        options.from -= seconds;
        continue;
      }
    }
    clips_.push_back(std::make_unique<MediaReader>(path, options));
    options.from = 0;
  }
  _Describe();
  _ChooseSound();
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
  format_.frameCount = std::llround(seconds * av_q2d(format_.frameRate));
}

void Sequence::_ChooseSound() {
  for (size_t track = 0;; ++track) {
    Companion chosen{nullptr};
    for (const auto& clip : clips_) {
      const auto own = clip->Companions();
      if (track < own.size() && !chosen.stream) chosen.stream = own[track].stream;
    }
    if (!chosen.stream) return;
    chosen.uniform = std::all_of(clips_.begin(), clips_.end(), [&](const auto& clip) {
      const auto own = clip->Companions();
      return track < own.size() && Alike(*own[track].stream->codecpar, *chosen.stream->codecpar);
    });
    companions_.push_back(chosen);
  }
}

FramePtr Sequence::Read() {
  for (;;) {
    if (FramePtr frame = _ReadClip()) return frame;
    // What is left of its sound belongs before that of the next one, and to its pictures.
    while (current_ + 1 < clips_.size()) {
      CompanionPacket taken = _TakeShifted();
      if (!taken.packet) break;
      const bool behind = av_compare_ts(taken.packet->pts, taken.stream->time_base, end_, kUnit) >= 0;
      if (!behind) packets_.push_back(std::move(taken));
    }
    if (current_ + 1 >= clips_.size()) return nullptr;
    ++current_;
    start_ = end_;
    still_.reset();
  }
}

/// @return null at the clip's end.
FramePtr Sequence::_ReadClip() {
  MediaReader& clip = *clips_[current_];
  const VideoFormat& own = clip.Format();
  const AVRational rate = own.still ? format_.frameRate : own.frameRate;
  const int64_t frameTime = std::max<int64_t>(1, av_rescale_q(1, av_inv_q(rate), kUnit));
  FramePtr frame;
  if (!still_) {
    frame = clip.Read();
    if (!frame) return nullptr;
    frame->pts = start_ + av_rescale_q(frame->pts, own.timeBase, kUnit);
    frame = _Fitted(std::move(frame), own);
    if (own.still) {
      still_ = Checked(FramePtr(av_frame_clone(frame.get())));
      stillFrames_ = 1;
    }
  } else if (static_cast<double>(stillFrames_) < kStillSeconds * av_q2d(rate)) {
    frame = Checked(FramePtr(av_frame_clone(still_.get())));
    frame->pts = start_ + av_rescale_q(stillFrames_++, av_inv_q(rate), kUnit);
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
    FramePtr scaled = Filtered(*frame, fmt::format("scale=w={}:h=ih", std::max(1L, std::lround(frame->width * wider))));
    if (!scaled) throw Error("a frame can't be fitted into the first clip's: " + FfmpegError(AVERROR(EINVAL)));
    frame = std::move(scaled);
  }
  frame->pts = pts;
  return frame;
}

CompanionPacket Sequence::TakePacket() {
  if (packets_.empty()) return _TakeShifted();
  CompanionPacket taken = std::move(packets_.front());
  packets_.pop_front();
  return taken;
}

CompanionPacket Sequence::_TakeShifted() {
  CompanionPacket taken = clips_[current_]->TakePacket();
  if (!taken.packet) return taken;
  const int64_t shift = av_rescale_q(start_, kUnit, taken.stream->time_base);
  for (int64_t* time : {&taken.packet->pts, &taken.packet->dts}) {
    if (*time != AV_NOPTS_VALUE) *time += shift;
  }
  return taken;
}

std::string Sequence::Damage() const {
  for (const auto& clip : clips_) {
    if (const std::string damage = clip->Damage(); !damage.empty()) return damage;
  }
  return {};
}

}  // namespace qvgtool
