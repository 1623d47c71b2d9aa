// The tool works on progressive frames of standard dynamic range: others are converted when they are decoded.
#pragma once

#include <deque>

#include "media/ffmpeg/filterChain.h"

namespace qvgtool {

class ProgressiveSdr {
 public:
  /** name: of the input, for errors; timeBase: unit of the frames' pts. */
  ProgressiveSdr(std::string name, AVRational timeBase, bool deinterlace)
      : name_(std::move(name)), timeBase_(timeBase), deinterlace_(deinterlace) {}

  /** null: the end of the input. Throws Error when the frame's range can't be converted here. */
  void Send(AvFramePtr frame);
  /** The next frame; null when more input is needed. */
  AvFramePtr Take();
  /** Drops the frames that were sent. */
  void Reset();

 private:
  std::string _ChainFor(const AVFrame& frame);
  void _Drain();

  std::string name_;
  AVRational timeBase_;
  bool deinterlace_, interlaced_ = false;
  std::string made_;  // Describes the frames for which the chain was made.
  std::unique_ptr<FilterChain> chain_;
  std::deque<AvFramePtr> ready_;
};

}  // namespace qvgtool
