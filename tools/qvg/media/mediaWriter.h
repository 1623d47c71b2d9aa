// Frames into a video or an image, with what goes along with them. The backend implements it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "media/frameSource.h"

namespace qvgtool {

struct WriteOptions {
  std::string codec;  // The encoder's name; empty: the best for the container.
  int quality = 16;   // 0 best to 51 smallest; H.264's constant rate factor, and its like in other encoders.
  std::string preset = "medium";
  std::string container;    // Its name; empty: by the file's name.
  int standardOutput = -1;  // Descriptor of what is written to for the name "-".
  bool alpha = false;       // Prefer an encoder that keeps alpha, where the container can have one.
};

class MediaWriter {
 public:
  /** Finishes the file, whatever happened. */
  virtual ~MediaWriter() = default;

  /** True for one picture (PNG, JPEG ...), false for a clip or a numbered sequence of pictures. */
  virtual bool SingleImage() const = 0;
  virtual bool KeepsAlpha() const = 0;
  virtual bool EvenSizesOnly() const = 0;
  /** The format in which frames should come: NV12, I420 or RGBA. */
  virtual PixelFormat FrameFormat() const = 0;

  /** Opens the file for pictures of the format's size, which may differ from the source's. source: of what goes along
   *  with them, null for nothing; end: in seconds, where its chapters end at the latest. Throws Error. */
  virtual void Open(const VideoFormat& format, const Frame& colorSource, FrameSource* source, double end) = 0;

  /** Writes a frame of FrameFormat(); its pts counts in the format's unit. Throws Error. */
  virtual void Write(FramePtr frame) = 0;
  /** Queues the sound and subtitles that the source has met; they are written when the pictures have come as far. */
  virtual void TakeAlong() {}
  /** Writes what is left and closes the file. toEnd: write the sound that lies behind the last picture too. Throws
   *  Error. */
  virtual void Finish(bool toEnd) = 0;

  virtual std::string EncoderName() const = 0;
  virtual double Seconds() const = 0;
  /** What became of what goes along, such as "sound copied"; nothing for what isn't there. */
  virtual std::vector<std::string> Told() const { return {}; }
  /** The same for what the container can't hold, such as "sound left out: flac". */
  virtual std::vector<std::string> LeftOut() const { return {}; }
};

/** Finds container and encoder, and writes nothing yet. Throws Error when the name says no container. */
std::unique_ptr<MediaWriter> MakeWriter(const std::string& path, const WriteOptions& options);

}  // namespace qvgtool
