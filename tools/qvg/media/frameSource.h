// Sources of frames: media files, the tool's own clip.
#pragma once

#include <memory>
#include <string>

#include "media/error.h"
#include "media/frame.h"
#include "media/rational.h"

namespace qvgtool {

struct VideoFormat {
  int width = 0;  // Pixels, as stored.
  int height = 0;
  Rational timeBase{1, 25};  // Unit of the frames' pts.
  Rational frameRate{25, 1};
  Rational pixelAspect{0, 1};  // 0: unknown.
  int quarterTurns = 0;        // Clockwise, that make the picture upright.
  int64_t frameCount = 0;      // 0: unknown.
  bool alpha = false;
  bool still = false;  // A single image.
};

/** What accompanies the pictures: sound, subtitles, titles, chapters. Only the backend knows its contents. */
class Accompaniment {
 public:
  virtual ~Accompaniment() = default;
};

class FrameSource {
 public:
  virtual ~FrameSource() = default;

  virtual const VideoFormat& Format() const = 0;

  /** The next frame; its pts is set and never decreases. @return null at the end. Throws Error. */
  virtual FramePtr Read() = 0;

  /** Makes the first frame at that time or later the next one; in seconds of the frames' own time. @return false, with
   *  nothing changed, when the source can't seek there. */
  virtual bool Seek(double /*seconds*/) { return false; }

  /** null: there is none. */
  virtual Accompaniment* Along() { return nullptr; }

  /** After the end: what was wrong with the input, else empty. */
  virtual std::string Damage() const { return {}; }
};

/** Passes on another source's frames, changed in some way. */
class FrameAdapter : public FrameSource {
 public:
  explicit FrameAdapter(std::unique_ptr<FrameSource> source) : source_(std::move(source)) {}

  const VideoFormat& Format() const override { return source_->Format(); }
  Accompaniment* Along() override { return source_->Along(); }
  std::string Damage() const override { return source_->Damage(); }

 protected:
  FrameSource& Source() const { return *source_; }

 private:
  std::unique_ptr<FrameSource> source_;
};

}  // namespace qvgtool
