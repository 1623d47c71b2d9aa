// Writers of images and of Y4M streams.
#pragma once

#include "media/colorConversion.h"
#include "media/mediaWriter.h"
#include "media/plain/imageCodec.h"
#include "platform/files.h"

namespace qvgtool {

class ImageWriter : public MediaWriter {
 public:
  ImageWriter(const std::string& path, const WriteOptions& options, const ImageEncoder& encoder);

  bool SingleImage() const override { return !numbered_; }
  bool KeepsAlpha() const override { return encoder_.alpha; }
  bool EvenSizesOnly() const override { return false; }
  PixelFormat FrameFormat() const override { return PixelFormat::kRGBA; }
  void Open(const VideoFormat& format, const Frame& colorSource, FrameSource* source, double end) override;
  void Write(FramePtr frame) override;
  void Finish(bool) override {}
  std::string EncoderName() const override { return encoder_.name; }
  double Seconds() const override { return seconds_; }

 private:
  std::string path_;
  const ImageEncoder& encoder_;
  int quality_;
  bool numbered_, alpha_ = false;
  ColorConverter converter_;
  VideoFormat format_;
  int written_ = 0;
  double seconds_ = 0;
};

class Y4mWriter : public MediaWriter {
 public:
  Y4mWriter(std::string path, const WriteOptions& options);

  bool SingleImage() const override { return false; }
  bool KeepsAlpha() const override { return false; }
  bool EvenSizesOnly() const override { return true; }
  PixelFormat FrameFormat() const override { return own709_ ? PixelFormat::kRGBA : PixelFormat::kI420; }
  void Open(const VideoFormat& format, const Frame& colorSource, FrameSource* source, double end) override;
  void Write(FramePtr frame) override;
  void Finish(bool toEnd) override;
  std::string EncoderName() const override { return "y4m"; }
  double Seconds() const override { return seconds_; }

 private:
  void _WritePicture(const Frame& i420);
  [[noreturn]] void _Fail() const;

  std::string path_;
  int standardOutput_;
  FilePtr file_;
  bool own709_ = false;  // The library gives BT.601 only.
  FramePtr converted_;
  VideoFormat format_;
  int64_t written_ = 0;
  double seconds_ = 0;
};

}  // namespace qvgtool
