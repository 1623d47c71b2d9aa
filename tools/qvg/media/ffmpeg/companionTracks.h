// Sound and subtitles beside the pictures of an output: copied, turned into what the container holds, or left out.
#pragma once

#include <deque>
#include <functional>

#include "media/ffmpeg/transcoder.h"

namespace qvgtool {

class CompanionTracks {
 public:
  /** Adds streams to an output whose pictures have theirs. end: of the pictures, in seconds, if known. Throws Error. */
  void Open(AVFormatContext& output, const std::vector<Companion>& companions, double end);

  void Add(CompanionPacket packet) { queue_.push_back(std::move(packet)); }

  using Write = std::function<void(AVPacket*)>;
  /** Writes what begins up to this time; afterwards nothing but End(). Throws Error. */
  void WriteUpTo(double seconds, const Write& write);
  void End(const Write& write);

  /** What became of them, such as "sound copied"; nothing for what isn't there. */
  std::vector<std::string> Told() const;
  /** The same for those that the container can't hold, such as "sound left out: flac". */
  const std::vector<std::string>& LeftOut() const { return leftOut_; }

 private:
  struct Track {
    size_t companion;
    AVStream* to;
    std::unique_ptr<Transcoder> transcoder;  // null: copied.
    AVRational unit{0, 1};                   // Of what the transcoder gives.
    int64_t lastTime = AV_NOPTS_VALUE;
    int64_t first = 0;     // A copied packet may begin there.
    bool delayed = false;  // The container says how much of its beginning is the encoder's own.
  };
  std::unique_ptr<Transcoder> _Transcode(AVFormatContext& output, const AVStream& from);
  void _Write(Track& track, CompanionPacket taken, const Write& write);
  bool _Fits(Track& track, const AVPacket& packet) const;

  void _Place(Track& track, AVPacket& packet, AVRational unit) const;

  bool negativeTimes_ = false;  // Players leave out what lies before 0.
  double end_ = 0;
  std::vector<Track> tracks_;
  std::deque<CompanionPacket> queue_;
  std::vector<std::string> leftOut_;
};

}  // namespace qvgtool
