// What is shown behind the frames: an image, or a clip that loops.
#pragma once

#include <string>

#include "media/mediaReader.h"

namespace qvgtool {

class BackgroundClip {
 public:
  /** Throws Error when the file holds no picture. */
  explicit BackgroundClip(const std::string& path);

  /** The picture for this time, in seconds from the beginning; times never decrease. @return null while it is still the
   *  one that was returned last. */
  FramePtr At(double seconds);

 private:
  bool _Begin(double start);

  std::string path_;
  std::unique_ptr<FrameSource> reader_;
  FramePtr next_;
  double start_ = 0;  // When the current round of the clip began.
};

}  // namespace qvgtool
