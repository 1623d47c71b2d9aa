// Decodes a file, or standard input, through FFmpeg.
#pragma once

#include <deque>
#include <optional>

#include "media/ffmpeg/accompaniment.h"
#include "media/ffmpeg/capture.h"
#include "media/ffmpeg/progressiveSdr.h"
#include "media/mediaReader.h"

namespace qvgtool {

class FfmpegReader : public FrameSource, public FfmpegAccompaniment {
 public:
  /** As OpenMedia. */
  FfmpegReader(const std::string& path, const ReadOptions& options);

  const VideoFormat& Format() const override { return format_; }
  FramePtr Read() override;
  bool Seek(double seconds) override;
  Accompaniment* Along() override { return this; }
  std::vector<Companion> Companions() const override { return companions_; }
  CompanionPacket TakePacket() override;
  Tags FileTags() const override;
  Tags PictureTags() const override;
  std::vector<Chapter> Chapters() const override;
  std::string Damage() const override;

 private:
  void _OpenInput(const std::string& path, const ReadOptions& options);
  void _OpenDecoder();
  void _ChooseCompanions(const ReadOptions& options);
  void _Describe();
  void _StartAt(double from);
  AvFramePtr _Decode();
  bool _SetTime(AVFrame& frame);
  bool _FeedDecoder();
  bool _SeekFurtherBack(const AVPacket& first);
  void _KeepPacket(PacketPtr packet);

  std::string path_;
  bool (*stop_)();
  InputPtr input_;
  CodecContextPtr decoder_;
  AVStream* video_ = nullptr;
  std::vector<Companion> companions_;
  std::deque<CompanionPacket> packets_;  // In the input's time.
  VideoFormat format_;
  AVRational unit_{1, 25}, rate_{25, 1};  // Of its times, and of frames.
  std::optional<ProgressiveSdr> progressiveSdr_;
  int64_t origin_ = 0;            // In AV_TIME_BASE units: the input's time that becomes 0.
  int64_t firstPts_ = INT64_MIN;  // Frames before it are dropped.
  bool cut_ = false;              // Reading begins within the input: the first frame's time becomes 0.
  bool begun_ = false;            // That frame has been read.
  int64_t target_ = 0;            // Where to seek to, in the input's time.
  int64_t before_ = -1;           // How far before that reading began; -1: far enough in any case.
  int64_t lastPts_ = AV_NOPTS_VALUE;
  bool draining_ = false, ended_ = false;
  int64_t framesRead_ = 0;
  int damagedPackets_ = 0;
  std::string readError_;
};

}  // namespace qvgtool
