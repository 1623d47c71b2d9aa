// A chain of FFmpeg's filters.
#pragma once

#include <string>

#include "media/ffmpeg/ffmpegPtr.h"

namespace qvgtool {

class FilterChain {
 public:
  /** For pictures or sound of this frame's format; timeBase: unit of their pts. @return null when this build of FFmpeg
   *  can't make the chain. */
  static std::unique_ptr<FilterChain> Make(const AVFrame& like, AVRational timeBase, const std::string& text);

  /** null: the end of the input. @return false when the frame is refused. */
  bool Send(const AVFrame* frame);
  /** The next frame of the output; null when the chain needs more input. */
  AvFramePtr Take();
  /** Unit of the output's pts. */
  AVRational TimeBase() const;

 private:
  FilterGraphPtr graph_;
  AVFilterContext *source_ = nullptr, *sink_ = nullptr;
};

}  // namespace qvgtool
