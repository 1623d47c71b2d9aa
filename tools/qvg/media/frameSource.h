// Where frames come from: media files, the tool's own clip.
#pragma once

#include <vector>

#include "media/ffmpegPtr.h"

namespace qvgtool {

struct VideoFormat {
  int width = 0;  // Pixels, as stored.
  int height = 0;
  AVRational timeBase{1, 25};  // Unit of the frames' pts.
  AVRational frameRate{25, 1};
  AVRational pixelAspect{0, 1};  // 0: unknown.
  int quarterTurns = 0;          // Clockwise, to see the picture upright.
  int64_t frameCount = 0;        // 0: unknown.
  bool alpha = false;
  bool still = false;  // One image, no clip.
};

class FrameSource {
 public:
  virtual ~FrameSource() = default;

  virtual const VideoFormat& Format() const = 0;

  /** The next frame, its pts set and never falling. @return null at the end. Throws Error. */
  virtual FramePtr Read() = 0;

  /** The next frame is the first at that time or later, in seconds of the frames' own time. @return false when the
   *  source can't go there; then nothing has changed. */
  virtual bool Seek(double /*seconds*/) { return false; }

  /** Sound to be copied: its streams, and the packets met so far, in the time of the frames. */
  virtual std::vector<const AVStream*> SoundStreams() const { return {}; }
  virtual PacketPtr TakeSound() { return nullptr; }

  /** After the end: what was wrong with the input; empty when nothing was. */
  virtual std::string Damage() const { return {}; }
};

}  // namespace qvgtool
