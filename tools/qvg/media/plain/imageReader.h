// One image, or numbered images as a clip.
#pragma once

#include "media/mediaReader.h"
#include "media/plain/byteInput.h"

namespace qvgtool {

class ImageReader : public FrameSource {
 public:
  /** Throws Error when it can't be read. */
  explicit ImageReader(ByteInput input);
  ImageReader(const std::string& pattern, const ReadOptions& options);

  const VideoFormat& Format() const override { return format_; }
  FramePtr Read() override;
  bool Seek(double seconds) override;
  std::string Damage() const override { return damage_; }

 private:
  void _Describe();

  std::string pattern_;  // Empty: one image.
  VideoFormat format_;
  FramePtr first_;
  int start_ = 0, next_ = 0;  // Numbers of files.
  std::string damage_;
};

}  // namespace qvgtool
