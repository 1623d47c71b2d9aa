// Where frames come from: media files, the tool's own clip.
#pragma once

#include <vector>

#include "media/tags.h"

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

class FrameSource {
 public:
  virtual ~FrameSource() = default;

  virtual const VideoFormat& Format() const = 0;

  /** The next frame, its pts set and never falling. @return null at the end. Throws Error. */
  virtual FramePtr Read() = 0;

  /** The next frame is the first at that time or later, in seconds of the frames' own time. @return false when the
   *  source can't go there; then nothing has changed. */
  virtual bool Seek(double /*seconds*/) { return false; }

  /** What goes along with the pictures, and the packets of it that were met so far, in the time of the frames. */
  virtual std::vector<Companion> Companions() const { return {}; }
  virtual CompanionPacket TakePacket() { return {}; }

  /** What the whole, and the stream of pictures, is called. */
  virtual Tags FileTags() const { return {}; }
  virtual Tags PictureTags() const { return {}; }
  /** Known from the first frame on. */
  virtual std::vector<Chapter> Chapters() const { return {}; }

  /** After the end: what was wrong with the input; empty when nothing was. */
  virtual std::string Damage() const { return {}; }
};

/** Another source, whose frames are given differently. */
class FrameAdapter : public FrameSource {
 public:
  explicit FrameAdapter(std::unique_ptr<FrameSource> source) : source_(std::move(source)) {}

  const VideoFormat& Format() const override { return source_->Format(); }
  std::vector<Companion> Companions() const override { return source_->Companions(); }
  CompanionPacket TakePacket() override { return source_->TakePacket(); }
  Tags FileTags() const override { return source_->FileTags(); }
  Tags PictureTags() const override { return source_->PictureTags(); }
  std::vector<Chapter> Chapters() const override { return source_->Chapters(); }
  std::string Damage() const override { return source_->Damage(); }

 protected:
  FrameSource& Source() const { return *source_; }

 private:
  std::unique_ptr<FrameSource> source_;
};

}  // namespace qvgtool
