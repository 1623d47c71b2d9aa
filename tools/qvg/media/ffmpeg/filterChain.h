// A chain of FFmpeg's filters that frames run through one after the other.
#pragma once

#include <string>

#include "media/ffmpeg/ffmpegPtr.h"

namespace qvgtool {

class FilterChain {
 public:
  /** For frames of this one's kind, pictures or sound; timeBase: unit of their pts. @return null when the chain can't
   * be had here. */
  static std::unique_ptr<FilterChain> Make(const AVFrame& like, AVRational timeBase, const std::string& text);

  /** null: no more will come. @return false when the frame is refused. */
  bool Send(const AVFrame* frame);
  /** A frame that came out; null when the chain wants more. */
  AvFramePtr Take();
  /** Unit of the pts of what comes out. */
  AVRational TimeBase() const;

 private:
  FilterGraphPtr graph_;
  AVFilterContext *source_ = nullptr, *sink_ = nullptr;
};

}  // namespace qvgtool
