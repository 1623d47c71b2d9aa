// Sound and subtitles beside the pictures of an output: copied, transcoded to what the container can hold, or left out.
#pragma once

#include <deque>
#include <functional>

#include "media/ffmpeg/transcoder.h"

namespace qvgtool {

class CompanionTracks {
 public:
  /** Adds streams to an output that already has the pictures'. end: the pictures' end in seconds, if known. Throws
   *  Error. */
  void Open(AVFormatContext& output, const std::vector<Companion>& companions, double end);

  void Add(CompanionPacket packet) { queue_.push_back(std::move(packet)); }

  using Write = std::function<void(AVPacket*)>;
  /** Writes the packets that begin up to this time. Throws Error. */
  void WriteUpTo(double seconds, const Write& write);
  /** Writes what the transcoders still hold. Throws Error. */
  void End(const Write& write);

  /** What became of them, such as "sound copied"; nothing for what the input lacks. */
  std::vector<std::string> Told() const;
  /** The same for those that the container can't hold, such as "sound left out: flac". */
  const std::vector<std::string>& LeftOut() const { return leftOut_; }

 private:
  struct Track {
    size_t companion;
    AVStream* to;
    std::unique_ptr<Transcoder> transcoder;  // null: copied.
    AVRational unit{0, 1};                   // Of the transcoder's output.
    int64_t lastTime = AV_NOPTS_VALUE;
    int64_t first = 0;     // The earliest time for a copied packet.
    bool delayed = false;  // The container stores the encoder's delay.
  };
  std::unique_ptr<Transcoder> _Transcode(AVFormatContext& output, const AVStream& from);
  void _Write(Track& track, CompanionPacket taken, const Write& write);
  bool _Fits(Track& track, const AVPacket& packet) const;

  void _Place(Track& track, AVPacket& packet, AVRational unit) const;

  bool negativeTimes_ = false;  // Players drop what lies before 0.
  double end_ = 0;
  std::vector<Track> tracks_;
  std::deque<CompanionPacket> queue_;
  std::vector<std::string> leftOut_;
};

}  // namespace qvgtool
