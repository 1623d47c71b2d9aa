// Encodes frames into a video or an image, with sound and subtitles beside them.
#pragma once

#include <optional>

#include "media/colorConversion.h"
#include "media/companionTracks.h"
#include "media/outputFile.h"

namespace qvgtool {

struct WriteOptions {
  std::string codec;  // FFmpeg's encoder name; empty: the best for the container.
  int quality = 16;   // 0 best to 51 smallest; H.264's constant rate factor, and its like in other encoders.
  std::string preset = "medium";
  std::string container;    // FFmpeg's muxer name; empty: by the file's name.
  int standardOutput = -1;  // Descriptor of what is written to for the name "-".
  bool alpha = false;       // Prefer an encoder that keeps alpha, where the container can have one.
};

class MediaWriter {
 public:
  /** Finds container and encoder, and writes nothing yet. Throws Error when the name says no container. */
  MediaWriter(const std::string& path, const WriteOptions& options);
  /** Finishes the file, whatever happened. */
  ~MediaWriter();

  /** True for one picture (PNG, JPEG ...), false for a clip or a numbered sequence of pictures. */
  bool SingleImage() const { return singleImage_; }
  bool KeepsAlpha() const;
  bool EvenSizesOnly() const { return frameFormat_ != AV_PIX_FMT_RGBA; }
  /** The format in which frames should come: NV12, yuv420p or RGBA. */
  AVPixelFormat FrameFormat() const { return frameFormat_; }

  /** Opens the file for pictures of the format's size, which may differ from the source's. source: of what goes along
   *  with them; end: in seconds, where its chapters end at the latest. Throws Error. */
  void Open(const VideoFormat& format, const AVFrame& colorSource, const FrameSource* source, double end);
  bool IsOpen() const { return headerWritten_; }

  /** Writes a frame of FrameFormat(); its pts counts in the source's time base. Throws Error. */
  void Write(FramePtr frame);
  /** Queues sound or subtitles; they are written when the pictures have come as far. */
  void AddPacket(CompanionPacket packet) { companions_.Add(std::move(packet)); }
  /** Writes what is left and closes the file. toEnd: write the sound that lies behind the last picture too. */
  void Finish(bool toEnd);

  const std::string& EncoderName() const { return encoderName_; }
  const CompanionTracks& Companions() const { return companions_; }
  double Seconds() const { return seconds_; }

 private:
  void _ChooseCodecs(const std::string& name);
  bool _OpenEncoder(const AVCodec* codec, const VideoFormat& format, const AVFrame& colorSource);
  void _AddStreams(const VideoFormat& format, const FrameSource* source, double end);
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
  CompanionTracks companions_;
  std::string encoderName_;
  AVPixelFormat frameFormat_ = AV_PIX_FMT_NONE, encoderFormat_ = AV_PIX_FMT_NONE;
  ColorConverter converter_;
  AVRational sourceTimeBase_{1, 25};
  int64_t lastPts_ = AV_NOPTS_VALUE;
  double seconds_ = 0;
  bool headerWritten_ = false, finished_ = false;
};

}  // namespace qvgtool
