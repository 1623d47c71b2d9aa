#include "media/ffmpeg/soundTranscoder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace qvgtool {
namespace {

constexpr int64_t kBitsPerChannel = 96000, kMostBits = 320000;
constexpr int kSamplesAtOnce = 1024;  // For encoders that take any frame size.

int NearestRate(const AVCodec* codec, int rate) {
  int nearest = 0;
  for (const int* r = codec->supported_samplerates; r && *r; ++r) {
    // The lowest rate that loses nothing; else the highest.
    const bool keeps = *r >= rate, better = nearest >= rate ? keeps && *r < nearest : *r > nearest;
    if (nearest == 0 || better) nearest = *r;
  }
  return nearest > 0 ? nearest : rate;
}

AVSampleFormat NearestFormat(const AVCodec* codec, int format) {
  const AVSampleFormat* f = codec->sample_fmts;
  if (!f) return static_cast<AVSampleFormat>(format);
  for (; *f != AV_SAMPLE_FMT_NONE; ++f) {
    if (*f == format) return *f;
  }
  return codec->sample_fmts[0];
}

// The same channels, else the default layout for their number, else stereo or mono.
void ChooseChannels(const AVCodec* codec, const AVChannelLayout& wanted, AVChannelLayout& chosen) {
  const auto takes = [&](const AVChannelLayout& layout) {
    if (layout.order == AV_CHANNEL_ORDER_UNSPEC) return false;
    const AVChannelLayout* l = codec->ch_layouts;
    for (; l && l->nb_channels > 0; ++l) {
      if (av_channel_layout_compare(l, &layout) == 0) return true;
    }
    return false;
  };
  // Encoders without a list take default layouts.
  if (takes(wanted)) {
    av_channel_layout_copy(&chosen, &wanted);
    return;
  }
  av_channel_layout_default(&chosen, wanted.nb_channels);
  if (codec->ch_layouts && !takes(chosen)) av_channel_layout_default(&chosen, std::min(wanted.nb_channels, 2));
}

std::string NameOf(const AVChannelLayout& layout) {
  char name[128] = {};
  av_channel_layout_describe(&layout, name, sizeof name);
  return name;
}

}  // namespace

SoundTranscoder::SoundTranscoder(const AVStream& from, const AVCodec* codec, bool globalHeader) {
  _DecodeFrom(from);
  encoder_ = Checked(CodecContextPtr(avcodec_alloc_context3(codec)));
  AVCodecContext* encoder = encoder_.get();
  encoder->sample_rate = NearestRate(codec, from.codecpar->sample_rate);
  encoder->sample_fmt = NearestFormat(codec, from.codecpar->format);
  ChooseChannels(codec, from.codecpar->ch_layout, encoder->ch_layout);
  encoder->time_base = {1, encoder->sample_rate};
  encoder->bit_rate = std::min(kMostBits, kBitsPerChannel * encoder->ch_layout.nb_channels);
  if (globalHeader) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  const int opened = avcodec_open2(encoder, codec, nullptr);
  if (opened < 0) throw Error(fmt::format("{}: {}", codec->name, FfmpegError(opened)));
  samples_.reset(av_audio_fifo_alloc(encoder->sample_fmt, encoder->ch_layout.nb_channels, kSamplesAtOnce));
  if (!samples_) throw std::bad_alloc();
}

void SoundTranscoder::BeginAt(double seconds) { encoded_ = std::llround(seconds * encoder_->sample_rate); }

void SoundTranscoder::Describe(AVStream& to) const {
  avcodec_parameters_from_context(to.codecpar, encoder_.get());
  to.time_base = encoder_->time_base;
}

std::vector<PacketPtr> SoundTranscoder::Convert(CompanionPacket taken) {
  if (taken.packet) {
    if (taken.stream != stream_) _DecodeFrom(*taken.stream);
    _Decode(taken.packet.get());
  } else {
    _Decode(nullptr);
    _EndResampling();
    _EncodeWhole(true);
    _Encode(nullptr);
  }
  return std::exchange(packets_, {});
}

void SoundTranscoder::_DecodeFrom(const AVStream& stream) {
  if (decoder_) _Decode(nullptr);
  stream_ = &stream;
  const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
  if (!codec) throw Error(fmt::format("no decoder for {}", avcodec_get_name(stream.codecpar->codec_id)));
  decoder_ = Checked(CodecContextPtr(avcodec_alloc_context3(codec)));
  avcodec_parameters_to_context(decoder_.get(), stream.codecpar);
  decoder_->pkt_timebase = stream.time_base;
  const int opened = avcodec_open2(decoder_.get(), codec, nullptr);
  if (opened < 0) throw Error(fmt::format("{}: {}", codec->name, FfmpegError(opened)));
}

// Damaged packets are dropped, which leaves silence.
void SoundTranscoder::_Decode(const AVPacket* packet) {
  if (avcodec_send_packet(decoder_.get(), packet) < 0) return;
  for (;;) {
    AvFramePtr frame = NewAvFrame();
    const int result = avcodec_receive_frame(decoder_.get(), frame.get());
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
    if (result >= 0) _Resample(std::move(frame));
  }
}

void SoundTranscoder::_Resample(AvFramePtr frame) {
  if (frame->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
    av_channel_layout_default(&frame->ch_layout, frame->ch_layout.nb_channels);
  }
  const AVRational unit{1, frame->sample_rate};
  const std::string kind = fmt::format("{} {} {} {}", static_cast<const void*>(stream_), frame->sample_rate,
                                       frame->format, NameOf(frame->ch_layout));
  if (!resampler_ || kind != resampledKind_) {
    _EndResampling();
    // Gaps are filled at the source's rate: filled and resampled in one step, they would come out too short.
    const int64_t begun = av_rescale_q(encoded_ + av_audio_fifo_size(samples_.get()), encoder_->time_base, unit);
    const std::string chain = fmt::format(
        "aresample={}:async=1:first_pts={},aresample={},aformat=sample_fmts={}:channel_layouts={}", frame->sample_rate,
        begun, encoder_->sample_rate, av_get_sample_fmt_name(encoder_->sample_fmt), NameOf(encoder_->ch_layout));
    resampler_ = FilterChain::Make(*frame, unit, chain);
    resampledKind_ = kind;
    if (!resampler_) throw Error("the sound can't be resampled: " + FfmpegError(AVERROR(EINVAL)));
  }
  frame->pts = frame->pts == AV_NOPTS_VALUE ? frame->pts : av_rescale_q(frame->pts, stream_->time_base, unit);
  if (!resampler_->Send(frame.get())) throw Error("the sound can't be resampled: " + FfmpegError(AVERROR(EINVAL)));
  _TakeResampled();
  _EncodeWhole(false);
}

void SoundTranscoder::_TakeResampled() {
  while (const AvFramePtr frame = resampler_->Take()) {
    void** const planes = reinterpret_cast<void**>(frame->extended_data);
    if (av_audio_fifo_write(samples_.get(), planes, frame->nb_samples) < 0) throw std::bad_alloc();
  }
}

void SoundTranscoder::_EndResampling() {
  if (!resampler_) return;
  resampler_->Send(nullptr);
  _TakeResampled();
  resampler_.reset();
}

void SoundTranscoder::_EncodeWhole(bool andRest) {
  const int whole = encoder_->frame_size > 0 ? encoder_->frame_size : kSamplesAtOnce;
  for (;;) {
    const int ready = std::min(whole, av_audio_fifo_size(samples_.get()));
    if (ready < (andRest ? 1 : whole)) return;
    const AvFramePtr frame = NewAvFrame();
    frame->format = encoder_->sample_fmt;
    frame->sample_rate = encoder_->sample_rate;
    frame->nb_samples = ready;
    av_channel_layout_copy(&frame->ch_layout, &encoder_->ch_layout);
    if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
    av_audio_fifo_read(samples_.get(), reinterpret_cast<void**>(frame->extended_data), ready);
    frame->pts = encoded_;
    encoded_ += ready;
    _Encode(frame.get());
  }
}

void SoundTranscoder::_Encode(const AVFrame* frame) {
  const int sent = avcodec_send_frame(encoder_.get(), frame);
  if (sent < 0)
    throw Error(fmt::format("{}: the sound can't be encoded: {}", encoder_->codec->name, FfmpegError(sent)));
  for (;;) {
    PacketPtr packet = NewPacket();
    if (avcodec_receive_packet(encoder_.get(), packet.get()) < 0) return;
    packets_.push_back(std::move(packet));
  }
}

}  // namespace qvgtool
