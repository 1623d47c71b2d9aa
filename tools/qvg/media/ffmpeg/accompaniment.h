// What goes along with the pictures of FFmpeg's inputs.
#pragma once

#include <vector>

#include "media/ffmpeg/tags.h"
#include "media/frameSource.h"

namespace qvgtool {

struct Chapter {
  double start, end;  // Seconds, in the time of the frames.
  Tags tags;
};

/** A stream that goes along with the pictures: sound or subtitles. */
struct Companion {
  const AVStream* stream;
  bool uniform = true;  // Its packets are all of this one's kind, without gaps.
};

struct CompanionPacket {
  PacketPtr packet;  // null: none is there.
  size_t companion = 0;
  const AVStream* stream = nullptr;  // Where it comes from: its kind, and the unit of its times.
};

class FfmpegAccompaniment : public Accompaniment {
 public:
  /** What goes along with the pictures, and the packets of it that were met so far, in the time of the frames. */
  virtual std::vector<Companion> Companions() const = 0;
  virtual CompanionPacket TakePacket() = 0;

  virtual Tags FileTags() const = 0;
  virtual Tags PictureTags() const = 0;
  virtual std::vector<Chapter> Chapters() const = 0;
};

/** Of a source of this backend, or of one that has nothing; null then. */
inline FfmpegAccompaniment* AlongWith(FrameSource* source) {
  return source ? dynamic_cast<FfmpegAccompaniment*>(source->Along()) : nullptr;
}

}  // namespace qvgtool
