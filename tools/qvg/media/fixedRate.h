// A clip at another, constant frame rate: frames are repeated or dropped.
#pragma once

#include <memory>
#include <utility>

#include "media/frameSource.h"

namespace qvgtool {

class FixedRate : public FrameAdapter {
 public:
  /** rate: frames per second. */
  FixedRate(std::unique_ptr<FrameSource> source, double rate);

  const VideoFormat& Format() const override { return format_; }
  FramePtr Read() override;

 private:
  double _Begin(const Frame& frame) const;

  VideoFormat format_;
  FramePtr shown_, next_;
  int64_t count_ = 0;
};

}  // namespace qvgtool
