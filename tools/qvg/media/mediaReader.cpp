#include "media/mediaReader.h"

#include <fmt/format.h>

#include <cmath>
#include <cstring>
#include <filesystem>

#include "media/alpha.h"

extern "C" {
#include <libavutil/display.h>
#include <libavutil/pixdesc.h>
}

namespace qvgtool {
namespace {

// FFmpeg reads any text file as terminal art: nobody means that here.
constexpr const char* kNotMedia[] = {"tty", "bin"};

std::string Url(const std::string& path) {
  if (path == "-") return "pipe:0";
  if (path.find("://") != std::string::npos) return path;
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) throw Error(fmt::format("{}: no such file", path));
  if (std::filesystem::is_directory(status)) throw Error(fmt::format("{}: is a directory", path));
  return "file:" + path;
}

int QuarterTurns(const AVStream* stream) {
  const auto* matrix =
      reinterpret_cast<const int32_t*>(av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
  if (!matrix) return 0;
  const double clockwise = -av_display_rotation_get(matrix);
  return std::isnan(clockwise) ? 0 : (static_cast<int>(std::lround(clockwise / 90)) % 4 + 4) % 4;
}

}  // namespace

MediaReader::MediaReader(const std::string& path, const ReadOptions& options)
    : path_(path == "-" ? "standard input" : path) {
  AVFormatContext* input = nullptr;
  const int opened = avformat_open_input(&input, Url(path).c_str(), nullptr, nullptr);
  input_.reset(input);
  if (opened < 0) throw Error(fmt::format("{}: {}", path_, FfmpegError(opened)));
  for (const char* name : kNotMedia) {
    if (!std::strcmp(input_->iformat->name, name)) throw Error(fmt::format("{}: no video or image", path_));
  }
  const int found = avformat_find_stream_info(input_.get(), nullptr);
  if (found < 0) throw Error(fmt::format("{}: {}", path_, FfmpegError(found)));
  _OpenDecoder();
  for (unsigned i = 0; i < input_->nb_streams; ++i) {
    AVStream* stream = input_->streams[i];
    const bool isSound = options.sound && stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
    if (isSound) sound_.push_back(stream);
    if (!isSound && stream != video_) stream->discard = AVDISCARD_ALL;
  }
  _Describe();
  if (input_->start_time != AV_NOPTS_VALUE && input_->start_time > 0) origin_ = input_->start_time;
  if (options.from > 0) _StartAt(options.from);
  if (origin_ > 0 && options.exactly) firstPts_ = 0;
  TakeDemuxerError();
}

void MediaReader::_OpenDecoder() {
  const AVCodec* codec = nullptr;
  const int index = av_find_best_stream(input_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
  if (index < 0 || !codec) throw Error(fmt::format("{}: no video or image that can be decoded", path_));
  video_ = input_->streams[index];
  decoder_ = Checked(CodecContextPtr(avcodec_alloc_context3(codec)));
  avcodec_parameters_to_context(decoder_.get(), video_->codecpar);
  decoder_->pkt_timebase = video_->time_base;
  decoder_->thread_count = 0;
  const int opened = avcodec_open2(decoder_.get(), codec, nullptr);
  if (opened < 0) throw Error(fmt::format("{}: {}", path_, FfmpegError(opened)));
}

void MediaReader::_Describe() {
  const AVCodecParameters* codec = video_->codecpar;
  format_.width = codec->width;
  format_.height = codec->height;
  format_.timeBase = video_->time_base;
  format_.pixelAspect = av_guess_sample_aspect_ratio(input_.get(), video_, nullptr);
  format_.quarterTurns = QuarterTurns(video_);
  const AVRational rate = av_guess_frame_rate(input_.get(), video_, nullptr);
  if (rate.num > 0 && rate.den > 0) format_.frameRate = rate;
  const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(codec->format));
  if (format_.width < 1 || format_.height < 1 || !pixels) {
    throw Error(fmt::format("{}: damaged or no picture in it", path_));
  }
  format_.alpha = MayHaveAlpha(codec->format);
  const char* name = input_->iformat->name;
  const size_t length = std::strlen(name);
  format_.still = !std::strcmp(name, "image2") || (length > 5 && !std::strcmp(name + length - 5, "_pipe")) ||
                  (video_->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
  const double seconds = video_->duration > 0   ? static_cast<double>(video_->duration) * av_q2d(video_->time_base)
                         : input_->duration > 0 ? static_cast<double>(input_->duration) / AV_TIME_BASE
                                                : 0;
  format_.frameCount = format_.still           ? 1
                       : video_->nb_frames > 0 ? video_->nb_frames
                                               : std::llround(seconds * av_q2d(format_.frameRate));
}

void MediaReader::_StartAt(double from) {
  const auto start = static_cast<int64_t>(from * AV_TIME_BASE);
  origin_ += start;
  format_.frameCount -= std::min(format_.frameCount, static_cast<int64_t>(from * av_q2d(format_.frameRate)));
  // An input that can't seek (a pipe) is read from its beginning: Read() drops what lies before the origin.
  if (start > 0) avformat_seek_file(input_.get(), -1, INT64_MIN, origin_, origin_, 0);
}

bool MediaReader::Seek(double seconds) {
  const bool stream = input_->pb && !(input_->pb->seekable & AVIO_SEEKABLE_NORMAL);
  const auto ahead = static_cast<int64_t>(std::max(0.0, seconds) * AV_TIME_BASE);
  if (stream || format_.still ||
      avformat_seek_file(input_.get(), -1, INT64_MIN, origin_ + ahead, origin_ + ahead, 0) < 0) {
    return false;
  }
  avcodec_flush_buffers(decoder_.get());
  draining_ = false;
  soundPackets_.clear();
  lastPts_ = AV_NOPTS_VALUE;
  firstPts_ = ahead > 0 || origin_ > 0 ? av_rescale_q(ahead, AV_TIME_BASE_Q, format_.timeBase) : INT64_MIN;
  return true;
}

FramePtr MediaReader::Read() {
  for (;;) {
    FramePtr frame = NewFrame();
    const int result = avcodec_receive_frame(decoder_.get(), frame.get());
    if (result == AVERROR(EAGAIN)) {
      if (!_FeedDecoder()) draining_ = true;
      continue;
    }
    if (result == AVERROR_EOF) return nullptr;
    if (result < 0) {
      // A damaged frame: the next ones may be sound.
      ++damagedPackets_;
      continue;
    }
    const int64_t step = std::max<int64_t>(1, av_rescale_q(1, av_inv_q(format_.frameRate), format_.timeBase));
    const int64_t origin = av_rescale_q(origin_, AV_TIME_BASE_Q, format_.timeBase);
    int64_t pts = frame->best_effort_timestamp;
    if (pts != AV_NOPTS_VALUE) {
      pts -= origin;
      if (pts < firstPts_) continue;
    }
    if (pts == AV_NOPTS_VALUE) pts = lastPts_ == AV_NOPTS_VALUE ? 0 : lastPts_ + step;
    if (lastPts_ != AV_NOPTS_VALUE && pts <= lastPts_) pts = lastPts_ + 1;
    frame->pts = lastPts_ = pts;
    if (frame->decode_error_flags) ++damagedPackets_;
    ++framesRead_;
    return frame;
  }
}

bool MediaReader::_FeedDecoder() {
  while (!draining_) {
    PacketPtr packet = NewPacket();
    const int result = av_read_frame(input_.get(), packet.get());
    if (result < 0) {
      if (result != AVERROR_EOF) readError_ = FfmpegError(result);
      if (const std::string complaint = TakeDemuxerError(); readError_.empty()) readError_ = complaint;
      avcodec_send_packet(decoder_.get(), nullptr);
      return false;
    }
    if (packet->stream_index == video_->index) {
      if (packet->flags & AV_PKT_FLAG_CORRUPT) ++damagedPackets_;
      const int sent = avcodec_send_packet(decoder_.get(), packet.get());
      if (sent < 0 && sent != AVERROR_EOF) ++damagedPackets_;
      return true;
    }
    _KeepSound(std::move(packet));
  }
  return false;
}

void MediaReader::_KeepSound(PacketPtr packet) {
  const AVStream* stream = input_->streams[packet->stream_index];
  for (const AVStream* wanted : sound_) {
    if (wanted != stream) continue;
    const int64_t origin = av_rescale_q(origin_, AV_TIME_BASE_Q, stream->time_base);
    if (packet->pts != AV_NOPTS_VALUE) packet->pts -= origin;
    if (packet->dts != AV_NOPTS_VALUE) packet->dts -= origin;
    const bool before = origin_ > 0 && packet->pts != AV_NOPTS_VALUE && packet->pts < 0;
    if (!before) soundPackets_.push_back(std::move(packet));
    return;
  }
}

PacketPtr MediaReader::TakeSound() {
  if (soundPackets_.empty()) return nullptr;
  PacketPtr packet = std::move(soundPackets_.front());
  soundPackets_.pop_front();
  return packet;
}

std::string MediaReader::Damage() const {
  if (!readError_.empty())
    return fmt::format("{}: damaged: reading ended after {} frames: {}", path_, framesRead_, readError_);
  if (damagedPackets_ > 0) {
    return fmt::format("{}: damaged: {} of its packets could not be decoded, {} frames could", path_, damagedPackets_,
                       framesRead_);
  }
  return {};
}

FramePtr ReadImage(const std::string& path) {
  MediaReader reader(path, {.sound = false});
  FramePtr image = reader.Read();
  if (!image) throw Error(fmt::format("{}: no picture could be decoded", path));
  return image;
}

}  // namespace qvgtool
