// What the tool's pictures are: whole frames of standard dynamic range. Others are brought there as they are decoded.
#pragma once

#include <deque>

#include "media/ffmpeg/filterChain.h"

namespace qvgtool {

class ProgressiveSdr {
 public:
  /** name: of the input, for errors; timeBase: unit of the frames' pts. */
  ProgressiveSdr(std::string name, AVRational timeBase, bool deinterlace)
      : name_(std::move(name)), timeBase_(timeBase), deinterlace_(deinterlace) {}

  /** null: no more will come. Throws Error when the frame's range can't be had here. */
  void Send(AvFramePtr frame);
  /** The next frame; null when another has to be sent first. */
  AvFramePtr Take();
  /** Forgets what was sent. */
  void Reset();

 private:
  std::string _ChainFor(const AVFrame& frame);
  void _Drain();

  std::string name_;
  AVRational timeBase_;
  bool deinterlace_, interlaced_ = false;
  std::string made_;  // For what the chain is.
  std::unique_ptr<FilterChain> chain_;
  std::deque<AvFramePtr> ready_;
};

}  // namespace qvgtool
