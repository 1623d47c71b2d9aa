// Transcodes text subtitles.
#pragma once

#include "media/ffmpeg/transcoder.h"

namespace qvgtool {

class SubtitleTranscoder : public Transcoder {
 public:
  /** Throws Error. */
  SubtitleTranscoder(const AVStream& from, const AVCodec* codec);

  void Describe(AVStream& to) const override;
  std::vector<PacketPtr> Convert(CompanionPacket taken) override;

 private:
  CodecContextPtr decoder_, encoder_;
};

}  // namespace qvgtool
