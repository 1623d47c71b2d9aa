// Several files, one after the other, as a single clip.
#pragma once

#include "media/mediaReader.h"

namespace qvgtool {

class Sequence : public FrameSource {
 public:
  /** Throws Error when one of them can't be opened. options.from counts through all of them. */
  Sequence(const std::vector<std::string>& paths, ReadOptions options);

  /** The first file's, upright; the frames of the others keep their own sizes. */
  const VideoFormat& Format() const override { return format_; }
  FramePtr Read() override;
  Accompaniment* Along() override { return along_ ? along_->All() : nullptr; }
  std::string Damage() const override;

 private:
  void _Describe();
  FramePtr _ReadClip();
  FramePtr _Fitted(FramePtr frame, const VideoFormat& format) const;

  std::vector<std::unique_ptr<FrameSource>> clips_;  // All stay open: the accompaniment refers to them.
  VideoFormat format_;
  std::unique_ptr<JoinedAccompaniment> along_;
  size_t current_ = 0;
  FramePtr still_;  // The current clip's frame, if it is an image.
  int64_t stillFrames_ = 0;
  int64_t start_ = 0, end_ = 0;  // Of the current clip, and of the part read so far.
};

}  // namespace qvgtool
