#include "media/ffmpeg/companionTracks.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "media/ffmpeg/soundTranscoder.h"
#include "media/ffmpeg/subtitleTranscoder.h"

namespace qvgtool {
namespace {

// What sound and subtitles are transcoded to when the container can't hold them as they are. The container's own choice
// comes before these.
constexpr AVCodecID kSoundCodecs[] = {AV_CODEC_ID_AAC, AV_CODEC_ID_OPUS, AV_CODEC_ID_MP3, AV_CODEC_ID_PCM_S16LE};
constexpr AVCodecID kSubtitleCodecs[] = {AV_CODEC_ID_SUBRIP, AV_CODEC_ID_MOV_TEXT, AV_CODEC_ID_WEBVTT, AV_CODEC_ID_ASS};

std::vector<AVCodecID> CodecsFor(const AVOutputFormat& container, AVMediaType type) {
  const bool sound = type == AVMEDIA_TYPE_AUDIO;
  std::vector<AVCodecID> codecs = {sound ? container.audio_codec : container.subtitle_codec};
  if (sound) codecs.insert(codecs.end(), std::begin(kSoundCodecs), std::end(kSoundCodecs));
  if (!sound) codecs.insert(codecs.end(), std::begin(kSubtitleCodecs), std::end(kSubtitleCodecs));
  return codecs;
}

struct DropTrial {
  void operator()(AVFormatContext* trial) const {
    uint8_t* written = nullptr;
    if (trial->pb) avio_close_dyn_buf(trial->pb, &written);
    av_free(written);
    trial->pb = nullptr;
    avformat_free_context(trial);
  }
};

// Asks the muxer itself, with all streams that the output has so far: its table of codecs alone promises too much.
bool Holds(const AVFormatContext& output, const AVStream& another) {
  if (avformat_query_codec(output.oformat, another.codecpar->codec_id, FF_COMPLIANCE_NORMAL) != 1) return false;
  if (output.oformat->flags & AVFMT_NOFILE) return true;
  AVFormatContext* made = nullptr;
  if (avformat_alloc_output_context2(&made, output.oformat, nullptr, nullptr) < 0) return false;
  const std::unique_ptr<AVFormatContext, DropTrial> trial(made);
  std::vector<const AVStream*> streams(output.streams, output.streams + output.nb_streams);
  if (std::find(streams.begin(), streams.end(), &another) == streams.end()) streams.push_back(&another);
  for (const AVStream* stream : streams) {
    AVStream* same = avformat_new_stream(made, nullptr);
    if (!same || avcodec_parameters_copy(same->codecpar, stream->codecpar) < 0) throw std::bad_alloc();
    same->codecpar->codec_tag = 0;
    same->time_base = stream->time_base;
    same->avg_frame_rate = stream->avg_frame_rate;
  }
  if (avio_open_dyn_buf(&made->pb) < 0) throw std::bad_alloc();
  const bool holds = avformat_write_header(made, nullptr) >= 0;
  if (holds) av_write_trailer(made);
  return holds;
}

// In these containers Opus begins at 0, and players drop the encoder's delay before the first sample.
bool StoresDelay(const AVOutputFormat& container, const AVCodecParameters& codec) {
  return codec.codec_id == AV_CODEC_ID_OPUS &&
         (!std::strcmp(container.name, "matroska") || !std::strcmp(container.name, "webm"));
}

AVStream& NewStream(AVFormatContext& output, const AVStream& from) {
  AVStream* to = avformat_new_stream(&output, nullptr);
  if (!to) throw std::bad_alloc();
  to->disposition = from.disposition;
  SetTags(to->metadata, LastingTags(from.metadata));
  return *to;
}

const char* KindOf(const AVStream& stream) {
  return stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO ? "sound" : "subtitles";
}

std::string CodecName(AVCodecID id) {
  const AVCodecDescriptor* codec = avcodec_descriptor_get(id);
  const std::string name = codec && codec->long_name ? codec->long_name : avcodec_get_name(id);
  return name.substr(0, name.find(" ("));
}

void AddOnce(std::vector<std::string>& lines, const std::string& line) {
  if (std::find(lines.begin(), lines.end(), line) == lines.end()) lines.push_back(line);
}

double SecondsOf(const CompanionPacket& taken) {
  const AVPacket& packet = *taken.packet;
  const int64_t time = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
  return time == AV_NOPTS_VALUE ? 0 : static_cast<double>(time) * av_q2d(taken.stream->time_base);
}

}  // namespace

void CompanionTracks::Open(AVFormatContext& output, const std::vector<Companion>& companions, double end) {
  end_ = end;
  negativeTimes_ = (output.oformat->flags & AVFMT_TS_NEGATIVE) != 0;
  for (size_t i = 0; i < companions.size(); ++i) {
    const AVStream& from = *companions[i].stream;
    Track track{i, nullptr, nullptr};
    if (companions[i].uniform && Holds(output, from)) {
      track.to = &NewStream(output, from);
      avcodec_parameters_copy(track.to->codecpar, from.codecpar);
      track.to->codecpar->codec_tag = 0;
      track.to->time_base = from.time_base;
    } else if ((track.transcoder = _Transcode(output, from))) {
      track.to = &NewStream(output, from);
      track.transcoder->Describe(*track.to);
      track.unit = track.to->time_base;
    } else {
      AddOnce(leftOut_, fmt::format("{} left out: {}", KindOf(from), avcodec_get_name(from.codecpar->codec_id)));
      continue;
    }
    track.delayed = StoresDelay(*output.oformat, *track.to->codecpar);
    tracks_.push_back(std::move(track));
  }
}

std::unique_ptr<Transcoder> CompanionTracks::_Transcode(AVFormatContext& output, const AVStream& from) {
  const AVCodecParameters& source = *from.codecpar;
  const bool sound = source.codec_type == AVMEDIA_TYPE_AUDIO;
  const AVCodecDescriptor* kind = avcodec_descriptor_get(source.codec_id);
  if (!sound && !(kind && (kind->props & AV_CODEC_PROP_TEXT_SUB))) return nullptr;
  for (const AVCodecID id : CodecsFor(*output.oformat, source.codec_type)) {
    const AVCodec* codec = avcodec_find_encoder(id);
    if (!codec || (codec->capabilities & AV_CODEC_CAP_EXPERIMENTAL) || codec->type != source.codec_type) continue;
    try {
      std::unique_ptr<Transcoder> made;
      if (sound) {
        made = std::make_unique<SoundTranscoder>(from, codec, (output.oformat->flags & AVFMT_GLOBALHEADER) != 0);
      } else {
        made = std::make_unique<SubtitleTranscoder>(from, codec);
      }
      const OutputPtr alone = Checked(OutputPtr(avformat_alloc_context()));
      AVStream& like = NewStream(*alone, from);
      made->Describe(like);
      if (Holds(output, like)) return made;
    } catch (const Error&) {
      // The next codec may do.
    }
  }
  return nullptr;
}

void CompanionTracks::WriteUpTo(double seconds, const Write& write) {
  std::deque<CompanionPacket> queue = std::exchange(queue_, {});
  for (CompanionPacket& taken : queue) {
    const auto track =
        std::find_if(tracks_.begin(), tracks_.end(), [&](const Track& t) { return t.companion == taken.companion; });
    if (track == tracks_.end()) continue;
    if (SecondsOf(taken) > seconds) {
      queue_.push_back(std::move(taken));
    } else {
      _Write(*track, std::move(taken), write);
    }
  }
}

void CompanionTracks::End(const Write& write) {
  for (Track& track : tracks_) {
    if (track.transcoder) _Write(track, {}, write);
  }
}

void CompanionTracks::_Write(Track& track, CompanionPacket taken, const Write& write) {
  std::vector<PacketPtr> packets;
  AVRational unit = track.unit;
  if (track.transcoder) {
    packets = track.transcoder->Convert(std::move(taken));
  } else {
    unit = taken.stream->time_base;
    packets.push_back(std::move(taken.packet));
  }
  for (const PacketPtr& packet : packets) {
    _Place(track, *packet, unit);
    if (track.transcoder || _Fits(track, *packet)) write(packet.get());
  }
}

void CompanionTracks::_Place(Track& track, AVPacket& packet, AVRational unit) const {
  const AVCodecParameters& codec = *track.to->codecpar;
  packet.stream_index = track.to->index;
  packet.pos = -1;
  if (track.delayed) {
    const int64_t delay = av_rescale_q(codec.initial_padding, {1, std::max(1, codec.sample_rate)}, unit);
    if (packet.pts != AV_NOPTS_VALUE) packet.pts += delay;
    if (packet.dts != AV_NOPTS_VALUE) packet.dts += delay;
  }
  av_packet_rescale_ts(&packet, unit, track.to->time_base);
  if (codec.codec_type == AVMEDIA_TYPE_SUBTITLE && std::isfinite(end_) && packet.duration > 0) {
    const int64_t last = std::llround(end_ / av_q2d(track.to->time_base));
    packet.duration = std::clamp<int64_t>(last - packet.pts, 1, packet.duration);
  }
}

/// Whether a copied packet comes after those before it, at a time that the container can express.
bool CompanionTracks::_Fits(Track& track, const AVPacket& packet) const {
  const int64_t time = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
  if (time == AV_NOPTS_VALUE) return true;
  const AVCodecParameters& codec = *track.to->codecpar;
  if (track.lastTime == AV_NOPTS_VALUE) {
    // The encoder's delay before the first sample is kept, whatever its time.
    const bool marked = av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, nullptr) != nullptr;
    track.first = negativeTimes_ || (marked && !track.delayed) ? INT64_MIN : 0;
  }
  const bool sound = codec.codec_type == AVMEDIA_TYPE_AUDIO;
  const bool behind = !sound || track.lastTime == AV_NOPTS_VALUE || time > track.lastTime;
  if (!behind || time < track.first) return false;
  track.lastTime = time;
  return true;
}

std::vector<std::string> CompanionTracks::Told() const {
  std::vector<std::string> told;
  for (const Track& track : tracks_) {
    AddOnce(told, track.transcoder
                      ? fmt::format("{} turned into {}", KindOf(*track.to), CodecName(track.to->codecpar->codec_id))
                      : fmt::format("{} copied", KindOf(*track.to)));
  }
  return told;
}

}  // namespace qvgtool
