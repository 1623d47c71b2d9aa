#include "media/ffmpeg/ffmpegReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>

#include "media/ffmpeg/avFrame.h"
#include "media/numberedNames.h"

extern "C" {
#include <libavutil/display.h>
#include <libavutil/pixdesc.h>
#include <libavutil/time.h>
}

namespace qvgtool {
namespace {

// FFmpeg reads any text file as terminal art, which nobody wants here.
constexpr const char* kNotMedia[] = {"tty", "bin"};

// AV_TIME_BASE_Q, which is C only.
constexpr AVRational kMicroseconds{1, AV_TIME_BASE};
constexpr unsigned kDevicePause = 2000;  // Microseconds, while a device has no picture.

std::string Url(const std::string& path) {
  if (path == "-") return "pipe:0";
  if (path.find("://") != std::string::npos) return path;
  if (IsNumbered(path)) return path;
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) throw Error(fmt::format("{}: no such file", path));
  if (std::filesystem::is_directory(status)) throw Error(fmt::format("{}: is a directory", path));
  return "file:" + path;
}

AVDictionary* NumberedImages(const std::string& pattern, double rate) {
  const std::optional<int> first = FirstNumber(pattern);
  if (!first) throw Error(fmt::format("{}: no such files", pattern));
  AVDictionary* options = nullptr;
  av_dict_set_int(&options, "start_number", *first, 0);
  if (rate > 0) av_dict_set(&options, "framerate", fmt::format("{}", rate).c_str(), 0);
  return options;
}

int QuarterTurns(const AVStream* stream) {
  const auto* matrix =
      reinterpret_cast<const int32_t*>(av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
  if (!matrix) return 0;
  const double clockwise = -av_display_rotation_get(matrix);
  return std::isnan(clockwise) ? 0 : (static_cast<int>(std::lround(clockwise / 90)) % 4 + 4) % 4;
}

// How long before the first picture a packet of sound may begin and still be needed: where packets overlap, the decoder
// needs the one before, too.
int64_t LeadOf(const CompanionPacket& taken) {
  const AVCodecParameters* codec = taken.stream->codecpar;
  const AVCodecDescriptor* kind = avcodec_descriptor_get(codec->codec_id);
  const int64_t duration = std::max<int64_t>(1, taken.packet->duration);
  if (codec->codec_type != AVMEDIA_TYPE_AUDIO || !kind || (kind->props & AV_CODEC_PROP_LOSSLESS)) return duration;
  const AVRational sample{1, std::max(1, codec->sample_rate)};
  return duration + std::max(duration, av_rescale_q(codec->seek_preroll, sample, taken.stream->time_base));
}

// A subtitle that began before the first picture is shown from there on.
void BeginAtZero(AVPacket& packet) {
  if (packet.pts == AV_NOPTS_VALUE) return;
  packet.duration += packet.duration > 0 ? packet.pts : 0;
  packet.pts = packet.dts = 0;
}

}  // namespace

FfmpegReader::FfmpegReader(const std::string& path, const ReadOptions& options)
    : path_(path == "-" ? "standard input" : path), stop_(options.stop) {
  _OpenInput(path, options);
  for (const char* name : kNotMedia) {
    if (!std::strcmp(input_->iformat->name, name)) throw Error(fmt::format("{}: no video or image", path_));
  }
  const int found = avformat_find_stream_info(input_.get(), nullptr);
  if (found < 0) throw Error(fmt::format("{}: {}", path_, FfmpegError(found)));
  _OpenDecoder();
  _ChooseCompanions(options);
  _Describe();
  progressiveSdr_.emplace(path_, unit_, options.deinterlace);
  if (input_->start_time != AV_NOPTS_VALUE && input_->start_time > 0) origin_ = input_->start_time;
  if (options.from > 0) _StartAt(options.from);
  if (origin_ > 0 && options.exactly) firstPts_ = 0;
  cut_ = options.from > 0 && options.exactly;
  if (cut_) before_ = 0;
  TakeDemuxerError();
}

void FfmpegReader::_OpenInput(const std::string& path, const ReadOptions& options) {
  input_ = Checked(InputPtr(avformat_alloc_context()));
  const auto stop = [](void* self) { return static_cast<FfmpegReader*>(self)->stop_() ? 1 : 0; };
  if (stop_) input_->interrupt_callback = {stop, this};
  if (options.capture) return OpenCapture(path, *options.capture, input_);
  const std::string url = Url(path);
  const bool numbered = IsNumbered(path);
  AVDictionary* demuxing = numbered ? NumberedImages(path, options.imageRate) : nullptr;
  const AVInputFormat* format = numbered ? av_find_input_format("image2") : nullptr;
  AVFormatContext* input = input_.release();
  const int opened = avformat_open_input(&input, url.c_str(), format, &demuxing);
  av_dict_free(&demuxing);
  input_.reset(input);
  if (opened < 0) throw Error(fmt::format("{}: {}", path_, FfmpegError(opened)));
}

void FfmpegReader::_OpenDecoder() {
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

void FfmpegReader::_ChooseCompanions(const ReadOptions& options) {
  for (unsigned i = 0; i < input_->nb_streams; ++i) {
    AVStream* stream = input_->streams[i];
    const AVMediaType type = stream->codecpar->codec_type;
    const bool kept =
        (options.sound && type == AVMEDIA_TYPE_AUDIO) || (options.subtitles && type == AVMEDIA_TYPE_SUBTITLE);
    if (kept) companions_.push_back({stream});
    if (!kept && stream != video_) stream->discard = AVDISCARD_ALL;
  }
}

void FfmpegReader::_Describe() {
  const AVCodecParameters* codec = video_->codecpar;
  format_.width = codec->width;
  format_.height = codec->height;
  unit_ = video_->time_base;
  format_.timeBase = FromAv(unit_);
  format_.pixelAspect = FromAv(av_guess_sample_aspect_ratio(input_.get(), video_, nullptr));
  format_.quarterTurns = QuarterTurns(video_);
  const AVRational rate = av_guess_frame_rate(input_.get(), video_, nullptr);
  if (rate.num > 0 && rate.den > 0) rate_ = rate;
  format_.frameRate = FromAv(rate_);
  const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(codec->format));
  if (format_.width < 1 || format_.height < 1 || !pixels) {
    throw Error(fmt::format("{}: damaged or no picture in it", path_));
  }
  format_.alpha = MayHaveAlpha(static_cast<AVPixelFormat>(codec->format));
  const char* name = input_->iformat->name;
  const size_t length = std::strlen(name);
  format_.still = (!std::strcmp(name, "image2") && !IsNumbered(path_)) ||
                  (length > 5 && !std::strcmp(name + length - 5, "_pipe")) ||
                  (video_->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
  const double seconds = video_->duration > 0   ? static_cast<double>(video_->duration) * av_q2d(video_->time_base)
                         : input_->duration > 0 ? static_cast<double>(input_->duration) / AV_TIME_BASE
                                                : 0;
  format_.frameCount = format_.still           ? 1
                       : video_->nb_frames > 0 ? video_->nb_frames
                                               : std::llround(seconds * av_q2d(rate_));
}

void FfmpegReader::_StartAt(double from) {
  const auto start = static_cast<int64_t>(from * AV_TIME_BASE);
  origin_ += start;
  format_.frameCount -= std::min(format_.frameCount, static_cast<int64_t>(from * av_q2d(rate_)));
  // An input that can't seek (a pipe) is read from its beginning: Read() drops frames before the origin.
  target_ = origin_;
  if (start > 0) avformat_seek_file(input_.get(), -1, INT64_MIN, origin_, origin_, 0);
}

bool FfmpegReader::Seek(double seconds) {
  const bool stream = input_->pb && !(input_->pb->seekable & AVIO_SEEKABLE_NORMAL);
  const auto ahead = static_cast<int64_t>(std::max(0.0, seconds) * AV_TIME_BASE);
  const int64_t target = origin_ + ahead;
  if (stream || format_.still || avformat_seek_file(input_.get(), -1, INT64_MIN, target, target, 0) < 0) return false;
  avcodec_flush_buffers(decoder_.get());
  progressiveSdr_->Reset();
  draining_ = ended_ = false;
  packets_.clear();
  begun_ = true;
  target_ = target;
  before_ = 0;
  lastPts_ = AV_NOPTS_VALUE;
  firstPts_ = ahead > 0 || origin_ > 0 ? av_rescale_q(ahead, kMicroseconds, unit_) : INT64_MIN;
  return true;
}

FramePtr FfmpegReader::Read() {
  for (;;) {
    if (AvFramePtr frame = progressiveSdr_->Take()) return FromAv(std::move(frame));
    if (ended_) return nullptr;
    AvFramePtr decoded = _Decode();
    ended_ = decoded == nullptr;
    progressiveSdr_->Send(std::move(decoded));
  }
}

AvFramePtr FfmpegReader::_Decode() {
  for (;;) {
    AvFramePtr frame = NewAvFrame();
    const int result = avcodec_receive_frame(decoder_.get(), frame.get());
    if (result == AVERROR(EAGAIN)) {
      if (!_FeedDecoder()) draining_ = true;
      continue;
    }
    if (result == AVERROR_EOF) return nullptr;
    if (result < 0) {
      // A damaged frame: the next ones may be intact.
      ++damagedPackets_;
      continue;
    }
    if (!_SetTime(*frame)) continue;
    if (frame->decode_error_flags) ++damagedPackets_;
    ++framesRead_;
    return frame;
  }
}

/// @return false when the frame lies before the first one that is wanted.
bool FfmpegReader::_SetTime(AVFrame& frame) {
  const int64_t step = std::max<int64_t>(1, av_rescale_q(1, av_inv_q(rate_), unit_));
  int64_t pts = frame.best_effort_timestamp;
  if (pts != AV_NOPTS_VALUE) {
    pts -= av_rescale_q(origin_, kMicroseconds, unit_);
    if (pts < firstPts_) return false;
    if (cut_ && !begun_) {
      // Sound and subtitles, too, begin with this picture.
      origin_ += av_rescale_q(pts, unit_, kMicroseconds);
      pts = 0;
    }
  }
  if (pts == AV_NOPTS_VALUE) pts = lastPts_ == AV_NOPTS_VALUE ? 0 : lastPts_ + step;
  if (lastPts_ != AV_NOPTS_VALUE && pts <= lastPts_) pts = lastPts_ + 1;
  frame.pts = lastPts_ = pts;
  begun_ = true;
  return true;
}

bool FfmpegReader::_FeedDecoder() {
  while (!draining_) {
    PacketPtr packet = NewPacket();
    const int result = av_read_frame(input_.get(), packet.get());
    const bool stopped = stop_ && stop_();
    if (result == AVERROR(EAGAIN) && !stopped) {
      av_usleep(kDevicePause);
      continue;
    }
    if (result < 0) {
      if (result != AVERROR_EOF && !stopped) readError_ = FfmpegError(result);
      if (const std::string complaint = TakeDemuxerError(); readError_.empty()) readError_ = complaint;
      avcodec_send_packet(decoder_.get(), nullptr);
      return false;
    }
    if (packet->stream_index == video_->index) {
      if (before_ >= 0 && _SeekFurtherBack(*packet)) continue;
      before_ = -1;
      if (packet->flags & AV_PKT_FLAG_CORRUPT) ++damagedPackets_;
      const int sent = avcodec_send_packet(decoder_.get(), packet.get());
      if (sent < 0 && sent != AVERROR_EOF) ++damagedPackets_;
      return true;
    }
    _KeepPacket(std::move(packet));
  }
  return false;
}

/// Without an index, seeking may lead to any packet; one to begin decoding with has to be found.
bool FfmpegReader::_SeekFurtherBack(const AVPacket& first) {
  const int64_t time = first.dts != AV_NOPTS_VALUE ? first.dts : first.pts;
  const bool early = time == AV_NOPTS_VALUE || av_compare_ts(time, video_->time_base, target_, kMicroseconds) <= 0;
  const int64_t start = input_->start_time != AV_NOPTS_VALUE ? input_->start_time : 0;
  // Decoding may begin before the first frame that is shown, so even the start may need a beginning before it.
  const bool nothingBefore = before_ > target_ - start + AV_TIME_BASE;
  if (((first.flags & AV_PKT_FLAG_KEY) && early) || nothingBefore) return false;
  before_ = std::max<int64_t>(AV_TIME_BASE, before_ * 4);
  const int64_t target = target_ - before_;
  if (avformat_seek_file(input_.get(), -1, INT64_MIN, target, target, 0) < 0) return false;
  packets_.clear();
  return true;
}

void FfmpegReader::_KeepPacket(PacketPtr packet) {
  const AVStream* stream = input_->streams[packet->stream_index];
  for (size_t i = 0; i < companions_.size(); ++i) {
    if (companions_[i].stream != stream) continue;
    packets_.push_back({std::move(packet), i, stream});
    return;
  }
}

CompanionPacket FfmpegReader::TakePacket() {
  while (!packets_.empty()) {
    CompanionPacket taken = std::move(packets_.front());
    packets_.pop_front();
    AVPacket& packet = *taken.packet;
    const int64_t origin = av_rescale_q(origin_, kMicroseconds, taken.stream->time_base);
    if (packet.pts != AV_NOPTS_VALUE) packet.pts -= origin;
    if (packet.dts != AV_NOPTS_VALUE) packet.dts -= origin;
    if (cut_ && packet.pts != AV_NOPTS_VALUE && packet.pts + LeadOf(taken) <= 0) continue;
    if (taken.stream->codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE && packet.pts < 0) BeginAtZero(packet);
    return taken;
  }
  return {};
}

Tags FfmpegReader::FileTags() const { return LastingTags(input_->metadata); }

Tags FfmpegReader::PictureTags() const { return LastingTags(video_->metadata); }

std::vector<Chapter> FfmpegReader::Chapters() const {
  std::vector<Chapter> chapters;
  const double origin = static_cast<double>(origin_) / AV_TIME_BASE;
  for (unsigned i = 0; i < input_->nb_chapters; ++i) {
    const AVChapter& chapter = *input_->chapters[i];
    const double unit = av_q2d(chapter.time_base);
    const double start = static_cast<double>(chapter.start) * unit - origin;
    const double end = static_cast<double>(chapter.end) * unit - origin;
    if (end > 0) chapters.push_back({std::max(0.0, start), end, LastingTags(chapter.metadata)});
  }
  return chapters;
}

std::string FfmpegReader::Damage() const {
  if (!readError_.empty())
    return fmt::format("{}: damaged: reading ended after {} frames: {}", path_, framesRead_, readError_);
  if (damagedPackets_ > 0) {
    return fmt::format("{}: damaged: {} of its packets could not be decoded, {} frames could", path_, damagedPackets_,
                       framesRead_);
  }
  return {};
}

std::unique_ptr<FrameSource> OpenMedia(const std::string& path, const ReadOptions& options) {
  return std::make_unique<FfmpegReader>(path, options);
}

}  // namespace qvgtool
