// Writes frames to a video or an image, with their accompaniment. The backend implements it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "media/frameSource.h"

namespace qvgtool {

struct WriteOptions {
  std::string codec;  // The encoder's name; empty: the best for the container.
  int quality = 16;   // 0 best to 51 smallest: H.264's constant rate factor, or its counterpart in other encoders.
  std::string preset = "medium";
  std::string container;    // Its name; empty: from the file's name.
  int standardOutput = -1;  // The descriptor for the name "-".
  bool alpha = false;       // Prefer an encoder that keeps alpha, where the container allows one.
};

class MediaWriter {
 public:
  /** Finishes the file if Finish was not called. */
  virtual ~MediaWriter() = default;

  /** True for one picture (PNG, JPEG ...), false for a clip or a numbered sequence of pictures. */
  virtual bool SingleImage() const = 0;
  virtual bool KeepsAlpha() const = 0;
  virtual bool EvenSizesOnly() const = 0;
  /** The format in which frames should come: NV12, I420 or RGBA. */
  virtual PixelFormat FrameFormat() const = 0;

  /** Opens the file for pictures of the format's size, which may differ from the source's. source: whose
   *  accompaniment is written, may be null; end: in seconds, where its chapters end at the latest. Throws Error. */
  virtual void Open(const VideoFormat& format, const Frame& colorSource, FrameSource* source, double end) = 0;

  /** Writes a frame of FrameFormat(); its pts counts in the format's unit. Throws Error. */
  virtual void Write(FramePtr frame) = 0;
  /** Queues the sound and subtitles that the source has read; they are written when the pictures have got as far. */
  virtual void TakeAlong() {}
  /** Writes what is left and closes the file. toEnd: also the sound after the last picture. Throws Error. */
  virtual void Finish(bool toEnd) = 0;

  virtual std::string EncoderName() const = 0;
  virtual double Seconds() const = 0;
  /** What became of the accompaniment, such as "sound copied"; nothing for what the input lacks. */
  virtual std::vector<std::string> Told() const { return {}; }
  /** The same for what the container can't hold, such as "sound left out: flac". */
  virtual std::vector<std::string> LeftOut() const { return {}; }
};

/** Chooses container and encoder, and writes nothing yet. Throws Error when the name tells no container. */
std::unique_ptr<MediaWriter> MakeWriter(const std::string& path, const WriteOptions& options);

}  // namespace qvgtool
