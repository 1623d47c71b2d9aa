// The tool's own clip: somebody waves in front of a lit green screen.
#pragma once

#include <vector>

#include "media/frameSource.h"

namespace qvgtool {

class DemoClip : public FrameSource {
 public:
  DemoClip(int width, int height);
  const VideoFormat& Format() const override { return format_; }
  FramePtr Read() override;
  bool Seek(double seconds) override;

 private:
  VideoFormat format_;
  std::vector<float> light_;  // On the screen, per pixel.
  int64_t next_ = 0;
};

/** The screen's colour. */
inline constexpr char kDemoKey[] = "#22aa41";

/** The name by which the effect loads the background. */
inline constexpr char kDemoBackground[] = "the demo's background";

/** A picture to put behind the clip, as large as its frames: an evening with lights. */
FramePtr DemoBackground(const VideoFormat& format);

}  // namespace qvgtool
