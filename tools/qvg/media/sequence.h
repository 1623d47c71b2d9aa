// Several files, one after the other, as one clip.
#pragma once

#include "media/mediaReader.h"

namespace qvgtool {

class Sequence : public FrameSource {
 public:
  /** Throws Error when one of them can't be opened. options.from counts through all of them. */
  Sequence(const std::vector<std::string>& paths, ReadOptions options);

  /** That of the first one, upright; the frames keep their sizes. */
  const VideoFormat& Format() const override { return format_; }
  FramePtr Read() override;
  Accompaniment* Along() override { return along_ ? along_->All() : nullptr; }
  std::string Damage() const override;

 private:
  void _Describe();
  FramePtr _ReadClip();
  FramePtr _Fitted(FramePtr frame, const VideoFormat& format) const;

  std::vector<std::unique_ptr<FrameSource>> clips_;  // All of them stay: what goes along refers to them.
  VideoFormat format_;
  std::unique_ptr<JoinedAccompaniment> along_;
  size_t current_ = 0;
  FramePtr still_;  // Of the current clip, if it is an image.
  int64_t stillFrames_ = 0;
  int64_t start_ = 0, end_ = 0;  // Of the current clip, and of what was read of it.
};

}  // namespace qvgtool
