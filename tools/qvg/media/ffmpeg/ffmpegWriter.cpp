#include "media/ffmpeg/ffmpegWriter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "media/ffmpeg/avFrame.h"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace qvgtool {
namespace {

// Encoders to use for H.264, and codecs to fall back to when the container's own choice is not available.
constexpr const char* kH264Encoders[] = {"libx264", "libopenh264"};
constexpr AVCodecID kFallbacks[] = {AV_CODEC_ID_MPEG4, AV_CODEC_ID_MJPEG};

// Containers in which alpha survives, with the encoder for it. Others that claim to hold alpha lose it on the way.
constexpr struct {
  const char *container, *encoder;
  AVPixelFormat format;
} kAlphaEncoders[] = {
    {"mov", "prores_ks", AV_PIX_FMT_YUVA444P10LE},
    {"webm", "libvpx-vp9", AV_PIX_FMT_YUVA420P},
    {"matroska", "ffv1", AV_PIX_FMT_BGRA},
};

AVPixelFormat AlphaFormat(const AVCodec* codec) {
  for (const auto& row : kAlphaEncoders) {
    if (!std::strcmp(codec->name, row.encoder)) return row.format;
  }
  return AV_PIX_FMT_NONE;
}

// How --quality, from 0 for the best to 51 for the smallest file, is passed to encoders that have an option for it: the
// option's name, and its values for both ends. Other encoders take the quantiser.
constexpr int kSmallest = 51;
constexpr struct {
  const char *encoder, *option;
  double best, smallest;
} kQualities[] = {
    {"libx264", "crf", 0, 51},    {"libx265", "crf", 0, 51},      {"libvpx", "crf", 4, 63},
    {"libvpx-vp9", "crf", 0, 63}, {"libaom-av1", "crf", 0, 63},   {"libsvtav1", "crf", 1, 63},
    {"librav1e", "qp", 0, 255},   {"libwebp", "quality", 100, 0}, {"libwebp_anim", "quality", 100, 0},
};
// Six steps of the constant rate factor double its quantiser; here doubling takes about ten.
constexpr double kSmallestQuantiser = 31;

// Options that an encoder doesn't have are ignored.
void SetQuality(AVCodecContext* encoder, const WriteOptions& options) {
  void* const own = encoder->priv_data;
  for (const auto& row : kQualities) {
    if (std::strcmp(row.encoder, encoder->codec->name) != 0) continue;
    const double share = static_cast<double>(options.quality) / kSmallest;
    encoder->bit_rate = 0;
    av_opt_set_double(own, row.option, std::round(row.best + (row.smallest - row.best) * share), 0);
    av_opt_set(own, "preset", options.preset.c_str(), 0);
    av_opt_set(own, "deadline", "good", 0);
    av_opt_set_int(own, "cpu-used", 4, 0);
    return;
  }
  encoder->flags |= AV_CODEC_FLAG_QSCALE;
  const double quantiser = std::pow(kSmallestQuantiser, static_cast<double>(options.quality) / kSmallest);
  encoder->global_quality = static_cast<int>(FF_QP2LAMBDA * quantiser);
}

bool Supports(const AVCodec* codec, AVPixelFormat format) {
  for (const AVPixelFormat* f = codec->pix_fmts; f && *f != AV_PIX_FMT_NONE; ++f) {
    if (*f == format) return true;
  }
  return !codec->pix_fmts && format == AV_PIX_FMT_YUV420P;
}

bool IsYuv(AVPixelFormat format) {
  const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(format);
  return pixels->nb_components >= 3 && !(pixels->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL));
}

AVPixelFormat NearestFormat(const AVCodec* codec, AVPixelFormat rgb) {
  if (!codec->pix_fmts) return rgb;
  return avcodec_find_best_pix_fmt_of_list(codec->pix_fmts, rgb, rgb == AV_PIX_FMT_RGBA, nullptr);
}

void AddChapters(AVFormatContext& output, const std::vector<Chapter>& chapters, double end) {
  for (const Chapter& chapter : chapters) {
    if (chapter.start >= end) continue;
    auto* made = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
    if (!made) throw std::bad_alloc();
    // From here on the output owns it.
    av_dynarray_add(&output.chapters, reinterpret_cast<int*>(&output.nb_chapters), made);
    if (!output.chapters) throw std::bad_alloc();
    made->id = output.nb_chapters;
    made->time_base = {1, 1000};
    made->start = std::llround(chapter.start * 1000);
    made->end = std::llround(std::min(chapter.end, end) * 1000);
    SetTags(made->metadata, chapter.tags);
  }
}

std::string LongerName(const AVCodec* codec) { return codec->long_name ? codec->long_name : codec->name; }

}  // namespace

FfmpegWriter::FfmpegWriter(const std::string& path, const WriteOptions& options) : path_(path), options_(options) {
  AVFormatContext* output = nullptr;
  const bool toStream = path == "-";
  const char* container = !options.container.empty() ? options.container.c_str() : toStream ? "matroska" : nullptr;
  if (avformat_alloc_output_context2(&output, nullptr, container, path.c_str()) < 0) {
    throw Error(fmt::format("{}: the name's ending says no format that can be written (try .mp4 or .png)", path));
  }
  output_.reset(output);
  image_ = !std::strcmp(output->oformat->name, "image2");
  singleImage_ = image_ && !av_filename_number_test(path.c_str());
  if (singleImage_) av_opt_set_int(output->priv_data, "update", 1, 0);
  _ChooseCodecs(options.codec);
  const AVCodec* codec = codecs_.front();
  if (options.alpha && !image_) {
    encoderFormat_ = AlphaFormat(codec);
    if (encoderFormat_ != AV_PIX_FMT_NONE) frameFormat_ = AV_PIX_FMT_RGBA;
  }
  for (const AVPixelFormat format : {AV_PIX_FMT_NV12, AV_PIX_FMT_YUV420P}) {
    if (!image_ && encoderFormat_ == AV_PIX_FMT_NONE && Supports(codec, format)) encoderFormat_ = frameFormat_ = format;
  }
  if (encoderFormat_ == AV_PIX_FMT_NONE) {
    encoderFormat_ = NearestFormat(codec, AV_PIX_FMT_RGBA);
    frameFormat_ = AV_PIX_FMT_RGBA;
  }
}

FfmpegWriter::~FfmpegWriter() {
  try {
    FfmpegWriter::Finish(false);
  } catch (const std::exception&) {
    // It was reported where it first happened; here only closing the file matters.
  }
}

void FfmpegWriter::_ChooseCodecs(const std::string& name) {
  const AVOutputFormat* container = output_->oformat;
  const auto add = [&](const AVCodec* codec) {
    if (!codec || (codec->capabilities & (AV_CODEC_CAP_HARDWARE | AV_CODEC_CAP_EXPERIMENTAL))) return;
    if (codec->type != AVMEDIA_TYPE_VIDEO) return;
    if (!image_ && avformat_query_codec(container, codec->id, FF_COMPLIANCE_NORMAL) == 0) return;
    codecs_.push_back(codec);
  };
  if (!name.empty()) {
    const AVCodec* wanted = avcodec_find_encoder_by_name(name.c_str());
    if (!wanted) throw Error(fmt::format("this build of FFmpeg has no encoder named {}", name));
    if (wanted->type != AVMEDIA_TYPE_VIDEO) throw Error(fmt::format("{} is no video encoder", name));
    add(wanted);
    if (codecs_.empty()) throw Error(fmt::format("{}: {} can't be written into {}", path_, name, container->name));
    return;
  }
  for (const auto& row : kAlphaEncoders) {
    if (options_.alpha && !std::strcmp(container->name, row.container)) add(avcodec_find_encoder_by_name(row.encoder));
  }
  const AVCodecID first = av_guess_codec(container, nullptr, path_.c_str(), nullptr, AVMEDIA_TYPE_VIDEO);
  if (first == AV_CODEC_ID_H264) {
    for (const char* encoder : kH264Encoders) add(avcodec_find_encoder_by_name(encoder));
  }
  add(avcodec_find_encoder(first));
  if (!image_) {
    for (const AVCodecID id : kFallbacks) add(avcodec_find_encoder(id));
  }
  if (codecs_.empty()) throw Error(fmt::format("{}: no encoder for {}", path_, container->long_name));
}

bool FfmpegWriter::KeepsAlpha() const { return MayHaveAlpha(encoderFormat_); }

bool FfmpegWriter::_OpenEncoder(const AVCodec* codec, const VideoFormat& format, const Frame& colorSource) {
  // A fallback that can't take the frames in their format would need another read-back: it is skipped.
  if (!image_ && frameFormat_ != AV_PIX_FMT_RGBA && !Supports(codec, encoderFormat_)) {
    if (!Supports(codec, AV_PIX_FMT_YUV420P)) return false;
    encoderFormat_ = frameFormat_ = AV_PIX_FMT_YUV420P;
  }
  if (frameFormat_ == AV_PIX_FMT_RGBA) {
    encoderFormat_ = format.alpha ? AlphaFormat(codec) : AV_PIX_FMT_NONE;
    if (encoderFormat_ == AV_PIX_FMT_NONE) {
      encoderFormat_ = NearestFormat(codec, format.alpha ? AV_PIX_FMT_RGBA : AV_PIX_FMT_RGB24);
    }
  }
  encoder_ = Checked(CodecContextPtr(avcodec_alloc_context3(codec)));
  AVCodecContext* encoder = encoder_.get();
  encoder->width = format.width;
  encoder->height = format.height;
  encoder->pix_fmt = encoderFormat_;
  encoder->sample_aspect_ratio = ToAv(format.pixelAspect);
  encoder->framerate = ToAv(format.frameRate);
  encoder->time_base = ToAv(format.timeBase);
  // Containers without time stamps count frames; MPEG-4 with its 16-bit clock takes only coarser ticks.
  const bool constantRate = !(output_->oformat->flags & (AVFMT_VARIABLE_FPS | AVFMT_NOTIMESTAMPS));
  if (constantRate) encoder->time_base = ToAv(Inverse(format.frameRate));
  if (codec->id == AV_CODEC_ID_MPEG4 && encoder->time_base.den > 65535) encoder->time_base = {1, 60000};
  encoder->thread_count = 0;
  const bool yuv = IsYuv(encoderFormat_);
  const bool jpeg = image_ && yuv;
  encoder->color_range = yuv && !jpeg ? AVCOL_RANGE_MPEG : AVCOL_RANGE_JPEG;
  encoder->colorspace = yuv ? static_cast<AVColorSpace>(matrix_) : AVCOL_SPC_RGB;
  // The matrix is converted on the way, primaries and transfer are not.
  encoder->color_primaries = static_cast<AVColorPrimaries>(colorSource.primaries);
  encoder->color_trc = static_cast<AVColorTransferCharacteristic>(colorSource.transfer);
  if (yuv) {
    encoder->chroma_sample_location = encoderFormat_ == AV_PIX_FMT_NV12 ? AVCHROMA_LOC_LEFT : AVCHROMA_LOC_CENTER;
  }
  if (output_->oformat->flags & AVFMT_GLOBALHEADER) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  SetQuality(encoder, options_);
  return avcodec_open2(encoder, codec, nullptr) >= 0;
}

void FfmpegWriter::Open(const VideoFormat& format, const Frame& colorSource, FrameSource* source, double end) {
  sourceTimeBase_ = ToAv(format.timeBase);
  along_ = AlongWith(source);
  // Y4M has no tag for the matrix: readers guess it from the size.
  if (!std::strcmp(output_->oformat->name, "yuv4mpegpipe")) matrix_ = GuessedMatrix(format.height);
  const bool opened = std::any_of(codecs_.begin(), codecs_.end(),
                                  [&](const AVCodec* codec) { return _OpenEncoder(codec, format, colorSource); });
  encoderName_ = encoder_->codec->name;
  if (!opened) {
    throw Error(fmt::format("{}: {} does not take {} x {}: {}", path_, LongerName(codecs_.front()), format.width,
                            format.height, FfmpegError(AVERROR(EINVAL))));
  }
  // The library reads back as BT.601 only.
  if (matrix_ != kMatrix601) frameFormat_ = AV_PIX_FMT_RGBA;
  _AddStreams(format, end);

  int result = _OpenOutput();
  if (result >= 0) result = avformat_write_header(output_.get(), nullptr);
  if (result < 0) {
    _CloseOutput();
    throw Error(fmt::format("cannot write {}: {}", path_, FfmpegError(result)));
  }
  headerWritten_ = true;
}

/// @return a negative error of FFmpeg when it can't be opened.
int FfmpegWriter::_OpenOutput() {
  if (output_->oformat->flags & AVFMT_NOFILE) return 0;
  if (path_ == "-") {
    // In a stream nothing can be changed after it was written.
    av_opt_set(output_.get(), "movflags", "frag_keyframe+empty_moov+delay_moov", AV_OPT_SEARCH_CHILDREN);
    return avio_open(&output_->pb, fmt::format("pipe:{}", options_.standardOutput).c_str(), AVIO_FLAG_WRITE);
  }
  if (path_.find("://") != std::string::npos) return avio_open(&output_->pb, path_.c_str(), AVIO_FLAG_WRITE);
  file_.emplace(path_);
  output_->pb = file_->Stream();
  return 0;
}

/// @return a negative error of FFmpeg when something of it could not be written.
int FfmpegWriter::_CloseOutput() {
  if (!file_) return output_->oformat->flags & AVFMT_NOFILE ? 0 : avio_closep(&output_->pb);
  output_->pb = nullptr;
  return file_->Close();
}

void FfmpegWriter::_AddStreams(const VideoFormat& format, double end) {
  AVFormatContext* const output = output_.get();
  video_ = avformat_new_stream(output, nullptr);
  if (!video_) throw std::bad_alloc();
  video_->time_base = encoder_->time_base;
  video_->avg_frame_rate = video_->r_frame_rate = ToAv(format.frameRate);
  video_->sample_aspect_ratio = ToAv(format.pixelAspect);
  avcodec_parameters_from_context(video_->codecpar, encoder_.get());
  if (image_ || !along_) return;
  SetTags(video_->metadata, along_->PictureTags());
  SetTags(output->metadata, along_->FileTags());
  companions_.Open(*output, along_->Companions(), end);
  AddChapters(*output, along_->Chapters(), end);
}

PixelFormat FfmpegWriter::FrameFormat() const { return FromAv(frameFormat_); }

void FfmpegWriter::Write(FramePtr frame) {
  const Frame* source = frame.get();
  if (const PixelFormat wanted = FromAv(encoderFormat_); frame->format != wanted) {
    const bool yuv = IsYuv(encoderFormat_);
    source = &converter_.Convert(*frame, wanted, frame->width, frame->height,
                                 {.rgb = !yuv, .fullRange = !yuv || image_, .matrix = matrix_});
  }
  const AvFramePtr send = ToAv(*source);
  send->pts = av_rescale_q(frame->pts, sourceTimeBase_, encoder_->time_base);
  if (lastPts_ != AV_NOPTS_VALUE && send->pts <= lastPts_) send->pts = lastPts_ + 1;
  lastPts_ = send->pts;
  send->sample_aspect_ratio = encoder_->sample_aspect_ratio;
  send->quality = encoder_->global_quality;
  _Encode(send.get());
  const double now = static_cast<double>(send->pts) * av_q2d(encoder_->time_base);
  companions_.WriteUpTo(now, [this](AVPacket* packet) { _WritePacket(packet); });
  seconds_ = now + 1 / av_q2d(encoder_->framerate);
}

void FfmpegWriter::TakeAlong() {
  if (!along_) return;
  for (CompanionPacket taken = along_->TakePacket(); taken.packet; taken = along_->TakePacket()) {
    companions_.Add(std::move(taken));
  }
}

void FfmpegWriter::_Encode(const AVFrame* frame) {
  const int result = avcodec_send_frame(encoder_.get(), frame);
  if (result < 0 && result != AVERROR_EOF) {
    throw Error(fmt::format("{}: the encoder failed: {}", path_, FfmpegError(result)));
  }
  const PacketPtr packet = NewPacket();
  while (avcodec_receive_packet(encoder_.get(), packet.get()) >= 0) {
    if (packet->duration <= 0) {
      packet->duration = std::max<int64_t>(1, av_rescale_q(1, av_inv_q(encoder_->framerate), encoder_->time_base));
    }
    packet->stream_index = video_->index;
    av_packet_rescale_ts(packet.get(), encoder_->time_base, video_->time_base);
    _WritePacket(packet.get());
  }
}

void FfmpegWriter::_WritePacket(AVPacket* packet) {
  int result = av_interleaved_write_frame(output_.get(), packet);
  const bool full = !finished_ && file_ && file_->Full();
  if (result >= 0 && !full) return;
  if (full) result = AVERROR(ENOSPC);
  const std::string reason = FfmpegError(result);
  bool completed = false;
  if (!std::exchange(finished_, true)) {
    // Frames that the encoder still holds are lost: what is already on the disk matters more.
    completed = av_write_trailer(output_.get()) >= 0 && _CloseOutput() >= 0 && full;
  }
  throw Error(fmt::format("cannot write {}: {}{}", path_, reason,
                          completed ? fmt::format(": it ends after {:.1f} s", seconds_) : ": it is not complete"));
}

void FfmpegWriter::Finish(bool toEnd) {
  if (finished_ || !headerWritten_) return;
  finished_ = true;
  std::string failure;
  try {
    _Encode(nullptr);
    const auto write = [this](AVPacket* packet) { _WritePacket(packet); };
    companions_.WriteUpTo(toEnd ? HUGE_VAL : seconds_, write);
    companions_.End(write);
  } catch (const Error& error) {
    failure = error.what();
  }
  int result = av_write_trailer(output_.get());
  const int closed = _CloseOutput();
  if (result >= 0) result = closed;
  encoder_.reset();
  if (failure.empty() && result < 0) failure = fmt::format("cannot write {}: {}", path_, FfmpegError(result));
  if (!failure.empty()) throw Error(failure);
}

std::unique_ptr<MediaWriter> MakeWriter(const std::string& path, const WriteOptions& options) {
  return std::make_unique<FfmpegWriter>(path, options);
}

}  // namespace qvgtool
