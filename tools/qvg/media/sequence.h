// Several files, one after the other, as one clip.
#pragma once

#include <deque>

#include "media/mediaReader.h"

namespace qvgtool {

class Sequence : public FrameSource {
 public:
  /** Throws Error when one of them can't be opened. options.from counts through all of them. */
  Sequence(const std::vector<std::string>& paths, ReadOptions options);

  /** That of the first one, upright; the frames keep their sizes. */
  const VideoFormat& Format() const override { return format_; }
  FramePtr Read() override;
  std::vector<Companion> Companions() const override { return companions_; }
  CompanionPacket TakePacket() override;
  Tags FileTags() const override { return clips_.front()->FileTags(); }
  Tags PictureTags() const override { return clips_.front()->PictureTags(); }
  std::string Damage() const override;

 private:
  void _Describe();
  void _ChooseSound();
  FramePtr _ReadClip();
  FramePtr _Fitted(FramePtr frame, const VideoFormat& format) const;
  CompanionPacket _TakeShifted();

  std::vector<std::unique_ptr<MediaReader>> clips_;  // All of them stay: packets and tracks refer to their streams.
  VideoFormat format_;
  std::vector<Companion> companions_;
  std::deque<CompanionPacket> packets_;  // Of clips that have ended.
  size_t current_ = 0;
  FramePtr still_;  // Of the current clip, if it is an image.
  int64_t stillFrames_ = 0;
  int64_t start_ = 0, end_ = 0;  // Of the current clip, and of what was read of it.
};

}  // namespace qvgtool
