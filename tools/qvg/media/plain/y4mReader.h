// Reads streams of uncompressed pictures, "YUV4MPEG2".
#pragma once

#include "media/mediaReader.h"
#include "media/plain/byteInput.h"
#include "media/plain/yuvFormat.h"

namespace qvgtool {

inline constexpr char kY4mMagic[] = "YUV4MPEG2 ";

class Y4mReader : public FrameSource {
 public:
  /** Throws Error when the header is not understood. */
  Y4mReader(ByteInput input, const ReadOptions& options);

  const VideoFormat& Format() const override { return format_; }
  FramePtr Read() override;
  bool Seek(double seconds) override;
  std::string Damage() const override;

 private:
  void _ReadHeader(const ReadOptions& options);
  void _TakeField(char key, const std::string& value, const ReadOptions& options);
  bool _GoTo(int64_t frame);
  FramePtr _ReadNext();
  bool _Stopped() const { return stop_ && stop_(); }

  ByteInput input_;
  bool (*stop_)();
  const YuvFormat* layout_ = nullptr;
  ColorTags colors_;
  VideoFormat format_;
  int64_t header_ = 0, frameSize_ = 0;  // Bytes.
  int64_t start_ = 0, next_ = 0;        // Frame numbers: of time 0, and of the next frame.
  std::string damage_;
};

}  // namespace qvgtool
