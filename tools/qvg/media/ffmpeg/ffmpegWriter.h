// Encodes frames into a video or an image, with sound and subtitles beside them.
#pragma once

#include <optional>

#include "media/colorConversion.h"
#include "media/ffmpeg/companionTracks.h"
#include "media/ffmpeg/outputFile.h"
#include "media/mediaWriter.h"

namespace qvgtool {

class FfmpegWriter : public MediaWriter {
 public:
  /** As MakeWriter. */
  FfmpegWriter(const std::string& path, const WriteOptions& options);
  ~FfmpegWriter() override;

  bool SingleImage() const override { return singleImage_; }
  bool KeepsAlpha() const override;
  bool EvenSizesOnly() const override { return frameFormat_ != AV_PIX_FMT_RGBA; }
  PixelFormat FrameFormat() const override;
  void Open(const VideoFormat& format, const Frame& colorSource, FrameSource* source, double end) override;
  void Write(FramePtr frame) override;
  void TakeAlong() override;
  void Finish(bool toEnd) override;
  std::string EncoderName() const override { return encoderName_; }
  double Seconds() const override { return seconds_; }
  std::vector<std::string> Told() const override { return companions_.Told(); }
  std::vector<std::string> LeftOut() const override { return companions_.LeftOut(); }

 private:
  void _ChooseCodecs(const std::string& name);
  bool _OpenEncoder(const AVCodec* codec, const VideoFormat& format, const Frame& colorSource);
  void _AddStreams(const VideoFormat& format, double end);
  void _Encode(const AVFrame* frame);
  int _OpenOutput();
  int _CloseOutput();
  void _WritePacket(AVPacket* packet);

  std::string path_;
  WriteOptions options_;
  bool image_ = false, singleImage_ = false;
  std::optional<OutputFile> file_;  // Where the container is one file.
  OutputPtr output_;
  std::vector<const AVCodec*> codecs_;  // In order of preference.
  CodecContextPtr encoder_;
  AVStream* video_ = nullptr;
  FfmpegAccompaniment* along_ = nullptr;
  CompanionTracks companions_;
  std::string encoderName_;
  AVPixelFormat frameFormat_ = AV_PIX_FMT_NONE, encoderFormat_ = AV_PIX_FMT_NONE;
  int matrix_ = kMatrix601;  // Of YUV.
  ColorConverter converter_;
  AVRational sourceTimeBase_{1, 25};
  int64_t lastPts_ = AV_NOPTS_VALUE;
  double seconds_ = 0;
  bool headerWritten_ = false, finished_ = false;
};

}  // namespace qvgtool
