// Transcodes sound. The output begins at time 0 and has no gaps: silence fills them.
#pragma once

#include "media/ffmpeg/filterChain.h"
#include "media/ffmpeg/transcoder.h"

extern "C" {
#include <libavutil/audio_fifo.h>
}

namespace qvgtool {

class SoundTranscoder : public Transcoder {
 public:
  /** from: the stream that gives the output's rate and channels; packets may come from other streams, too. Throws
   *  Error. */
  SoundTranscoder(const AVStream& from, const AVCodec* codec, bool globalHeader);

  /** Has the output begin at that time, in seconds, instead of 0. To be called before the first packet. */
  void BeginAt(double seconds);
  /** The unit of the packets' times. */
  AVRational Unit() const { return encoder_->time_base; }

  void Describe(AVStream& to) const override;
  std::vector<PacketPtr> Convert(CompanionPacket taken) override;

 private:
  void _DecodeFrom(const AVStream& stream);
  void _Decode(const AVPacket* packet);
  void _Resample(AvFramePtr frame);
  void _TakeResampled();
  void _EndResampling();
  void _EncodeWhole(bool andRest);
  void _Encode(const AVFrame* frame);

  const AVStream* stream_ = nullptr;
  CodecContextPtr decoder_;
  std::string resampledKind_;
  std::unique_ptr<FilterChain> resampler_;
  std::unique_ptr<AVAudioFifo, FreeByValue<av_audio_fifo_free>> samples_;
  CodecContextPtr encoder_;
  int64_t encoded_ = 0;  // Samples.
  std::vector<PacketPtr> packets_;
};

}  // namespace qvgtool
