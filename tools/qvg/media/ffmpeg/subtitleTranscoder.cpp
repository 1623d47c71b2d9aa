#include "media/ffmpeg/subtitleTranscoder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

namespace qvgtool {
namespace {

constexpr AVRational kMilliseconds{1, 1000};
constexpr int kMostBytes = 1 << 16;

}  // namespace

SubtitleTranscoder::SubtitleTranscoder(const AVStream& from, const AVCodec* codec) {
  const AVCodec* decoder = avcodec_find_decoder(from.codecpar->codec_id);
  if (!decoder) throw Error(fmt::format("no decoder for {}", avcodec_get_name(from.codecpar->codec_id)));
  decoder_ = Checked(CodecContextPtr(avcodec_alloc_context3(decoder)));
  avcodec_parameters_to_context(decoder_.get(), from.codecpar);
  decoder_->pkt_timebase = from.time_base;
  int opened = avcodec_open2(decoder_.get(), decoder, nullptr);
  encoder_ = Checked(CodecContextPtr(avcodec_alloc_context3(codec)));
  encoder_->time_base = kMilliseconds;
  if (opened >= 0 && decoder_->subtitle_header_size > 0) {
    // The styles of the text. A copy, since each context frees its own.
    const auto size = static_cast<size_t>(decoder_->subtitle_header_size);
    encoder_->subtitle_header = static_cast<uint8_t*>(av_mallocz(size + 1));
    if (!encoder_->subtitle_header) throw std::bad_alloc();
    std::memcpy(encoder_->subtitle_header, decoder_->subtitle_header, size);
    encoder_->subtitle_header_size = decoder_->subtitle_header_size;
  }
  if (opened >= 0) opened = avcodec_open2(encoder_.get(), codec, nullptr);
  if (opened < 0) throw Error(fmt::format("{}: {}", codec->name, FfmpegError(opened)));
}

void SubtitleTranscoder::Describe(AVStream& to) const {
  avcodec_parameters_from_context(to.codecpar, encoder_.get());
  to.time_base = kMilliseconds;
}

std::vector<PacketPtr> SubtitleTranscoder::Convert(CompanionPacket taken) {
  std::vector<PacketPtr> packets;
  if (!taken.packet) return packets;
  struct Subtitle : AVSubtitle {
    ~Subtitle() { avsubtitle_free(this); }
  } subtitle = {};
  int got = 0;
  const int decoded = avcodec_decode_subtitle2(decoder_.get(), &subtitle, &got, taken.packet.get());
  if (decoded < 0 || !got) return packets;
  if (subtitle.num_rects > 0) {
    PacketPtr packet = NewPacket();
    if (av_new_packet(packet.get(), kMostBytes) < 0) throw std::bad_alloc();
    const int size = avcodec_encode_subtitle(encoder_.get(), packet->data, kMostBytes, &subtitle);
    if (size > 0) {
      av_shrink_packet(packet.get(), size);
      const AVRational unit = taken.stream->time_base;
      packet->pts = packet->dts = av_rescale_q(taken.packet->pts, unit, kMilliseconds);
      packet->duration = taken.packet->duration > 0 ? av_rescale_q(taken.packet->duration, unit, kMilliseconds)
                                                    : subtitle.end_display_time;
      packet->flags |= AV_PKT_FLAG_KEY;
      packets.push_back(std::move(packet));
    }
  }
  return packets;
}

}  // namespace qvgtool
