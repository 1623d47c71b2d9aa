#include <algorithm>
#include <cstring>
#include <deque>

#include "media/ffmpeg/accompaniment.h"
#include "media/ffmpeg/avFrame.h"
#include "media/mediaReader.h"

namespace qvgtool {
namespace {

// Whether packets of one can follow those of the other in one stream.
bool Alike(const AVCodecParameters& a, const AVCodecParameters& b) {
  return a.codec_id == b.codec_id && a.sample_rate == b.sample_rate && a.format == b.format &&
         av_channel_layout_compare(&a.ch_layout, &b.ch_layout) == 0 && a.extradata_size == b.extradata_size &&
         (a.extradata_size == 0 || !std::memcmp(a.extradata, b.extradata, static_cast<size_t>(a.extradata_size)));
}

/// The sound of all clips, the titles of the first.
class FfmpegJoined : public JoinedAccompaniment, public FfmpegAccompaniment {
 public:
  FfmpegJoined(const std::vector<Accompaniment*>& clips, Rational unit) : unit_(ToAv(unit)) {
    for (Accompaniment* clip : clips) clips_.push_back(dynamic_cast<FfmpegAccompaniment*>(clip));
    _ChooseSound();
  }

  Accompaniment* All() override { return this; }
  void GoOn(int64_t next) override {
    // The rest of this clip's sound comes before the next clip's, and keeps its clip's shift.
    for (CompanionPacket taken = _TakeShifted(); taken.packet; taken = _TakeShifted()) {
      const bool behind = av_compare_ts(taken.packet->pts, taken.stream->time_base, next, unit_) >= 0;
      if (!behind) packets_.push_back(std::move(taken));
    }
    ++current_;
    start_ = next;
  }

  std::vector<Companion> Companions() const override { return companions_; }
  CompanionPacket TakePacket() override {
    if (packets_.empty()) return _TakeShifted();
    CompanionPacket taken = std::move(packets_.front());
    packets_.pop_front();
    return taken;
  }
  Tags FileTags() const override { return clips_.front()->FileTags(); }
  Tags PictureTags() const override { return clips_.front()->PictureTags(); }
  std::vector<Chapter> Chapters() const override { return {}; }

 private:
  void _ChooseSound() {
    for (size_t track = 0;; ++track) {
      Companion chosen{nullptr};
      for (const auto* clip : clips_) {
        const auto own = clip->Companions();
        if (track < own.size() && !chosen.stream) chosen.stream = own[track].stream;
      }
      if (!chosen.stream) return;
      chosen.uniform = std::all_of(clips_.begin(), clips_.end(), [&](const auto* clip) {
        const auto own = clip->Companions();
        return track < own.size() && Alike(*own[track].stream->codecpar, *chosen.stream->codecpar);
      });
      companions_.push_back(chosen);
    }
  }

  CompanionPacket _TakeShifted() {
    CompanionPacket taken = clips_[current_]->TakePacket();
    if (!taken.packet) return taken;
    const int64_t shift = av_rescale_q(start_, unit_, taken.stream->time_base);
    for (int64_t* time : {&taken.packet->pts, &taken.packet->dts}) {
      if (*time != AV_NOPTS_VALUE) *time += shift;
    }
    return taken;
  }

  AVRational unit_;
  std::vector<FfmpegAccompaniment*> clips_;
  std::vector<Companion> companions_;
  std::deque<CompanionPacket> packets_;  // Of clips that have ended.
  size_t current_ = 0;
  int64_t start_ = 0;
};

}  // namespace

std::unique_ptr<JoinedAccompaniment> Joined(const std::vector<Accompaniment*>& clips, Rational unit) {
  return std::make_unique<FfmpegJoined>(clips, unit);
}

}  // namespace qvgtool
