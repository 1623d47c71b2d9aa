// Transcodes packets of sound or subtitles.
#pragma once

#include <vector>

#include "media/ffmpeg/accompaniment.h"

namespace qvgtool {

class Transcoder {
 public:
  virtual ~Transcoder() = default;

  /** Sets the stream's parameters and time unit to those of the packets that come out. */
  virtual void Describe(AVStream& to) const = 0;

  /** taken: holds no packet at the end of the input. Throws Error. */
  virtual std::vector<PacketPtr> Convert(CompanionPacket taken) = 0;
};

}  // namespace qvgtool
