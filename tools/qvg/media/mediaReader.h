// Decodes a file, or standard input, through FFmpeg.
#pragma once

#include <deque>

#include "media/frameSource.h"

namespace qvgtool {

struct ReadOptions {
  double from = 0;  // Seconds into the input.
  bool sound = true;
  bool exactly = true;  // Starts with the frame of that time, else with the one before it that is quickly there.
};

class MediaReader : public FrameSource {
 public:
  /** Throws Error when the path can't be opened or holds no picture. "-" reads standard input. */
  MediaReader(const std::string& path, const ReadOptions& options);

  const VideoFormat& Format() const override { return format_; }
  FramePtr Read() override;
  bool Seek(double seconds) override;
  std::vector<const AVStream*> SoundStreams() const override { return sound_; }
  PacketPtr TakeSound() override;
  std::string Damage() const override;

 private:
  void _OpenDecoder();
  void _Describe();
  void _StartAt(double from);
  bool _FeedDecoder();
  void _KeepSound(PacketPtr packet);

  std::string path_;
  InputPtr input_;
  CodecContextPtr decoder_;
  AVStream* video_ = nullptr;
  std::vector<const AVStream*> sound_;
  std::deque<PacketPtr> soundPackets_;
  VideoFormat format_;
  int64_t origin_ = 0;            // In AV_TIME_BASE units: the input's time that becomes 0.
  int64_t firstPts_ = INT64_MIN;  // Frames before it are dropped.
  int64_t lastPts_ = AV_NOPTS_VALUE;
  bool draining_ = false;
  int64_t framesRead_ = 0;
  int damagedPackets_ = 0;
  std::string readError_;
};

/** The first picture of a file. Throws Error. */
FramePtr ReadImage(const std::string& path);

}  // namespace qvgtool
