// Turns packets of sound or subtitles into those of another codec.
#pragma once

#include <vector>

#include "media/ffmpeg/accompaniment.h"

namespace qvgtool {

class Transcoder {
 public:
  virtual ~Transcoder() = default;

  /** What its packets are, and the unit of their times. */
  virtual void Describe(AVStream& to) const = 0;

  /** taken: without a packet at the end. Throws Error. */
  virtual std::vector<PacketPtr> Convert(CompanionPacket taken) = 0;
};

}  // namespace qvgtool
