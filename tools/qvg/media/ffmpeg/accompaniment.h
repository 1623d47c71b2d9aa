// Sound, subtitles, titles and chapters of FFmpeg's inputs.
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
  bool uniform = true;  // All its packets have this stream's parameters, and there are no gaps.
};

struct CompanionPacket {
  PacketPtr packet;  // null: there is none.
  size_t companion = 0;
  const AVStream* stream = nullptr;  // The stream that it comes from: its parameters, and the unit of its times.
};

class FfmpegAccompaniment : public Accompaniment {
 public:
  /** The streams that go along with the pictures, and their packets read so far, in the time of the frames. */
  virtual std::vector<Companion> Companions() const = 0;
  virtual CompanionPacket TakePacket() = 0;

  virtual Tags FileTags() const = 0;
  virtual Tags PictureTags() const = 0;
  virtual std::vector<Chapter> Chapters() const = 0;
};

/** The source's accompaniment, which has to be this backend's; null when it has none. */
inline FfmpegAccompaniment* AlongWith(FrameSource* source) {
  return source ? dynamic_cast<FfmpegAccompaniment*>(source->Along()) : nullptr;
}

}  // namespace qvgtool
