#include "media/ffmpeg/ffmpegSound.h"

#include <cstdlib>
#include <filesystem>
#include <utility>

extern "C" {
#include <libavdevice/avdevice.h>
}

namespace qvgtool {
namespace {

// How long before they are due pieces are handed to the device, and how late they may be before they are dropped.
constexpr std::chrono::milliseconds kAhead{120}, kLate{150};

std::chrono::steady_clock::duration Span(double seconds) {
  return std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(seconds));
}

// Without a sound card ALSA's library prints many lines on standard error.
bool MayHaveAlsa() {
  std::error_code error;
  return std::getenv("ALSA_CONFIG_PATH") != nullptr || std::filesystem::exists("/dev/snd", error);
}

std::unique_ptr<SoundTranscoder> ToSamples(const AVStream& from) {
  return std::make_unique<SoundTranscoder>(from, avcodec_find_encoder(AV_CODEC_ID_PCM_S16LE), false);
}

OutputPtr OpenDevice(const char* format, const SoundTranscoder& sound) {
  AVFormatContext* made = nullptr;
  if (avformat_alloc_output_context2(&made, nullptr, format, "default") < 0) return nullptr;
  OutputPtr device(made);
  AVStream* const stream = avformat_new_stream(made, nullptr);
  if (!stream) throw std::bad_alloc();
  sound.Describe(*stream);
  return avformat_write_header(made, nullptr) >= 0 ? std::move(device) : nullptr;
}

OutputPtr OpenAnyDevice(const AVStream& from) {
  avdevice_register_all();
  try {
    const std::unique_ptr<SoundTranscoder> sound = ToSamples(from);
    OutputPtr device = OpenDevice("pulse", *sound);
    if (!device && MayHaveAlsa()) device = OpenDevice("alsa", *sound);
    return device;
  } catch (const Error&) {
    return nullptr;  // There is no decoder for it.
  }
}

}  // namespace

std::unique_ptr<SoundOutput> OpenSound(FrameSource& source) {
  const FfmpegAccompaniment* const along = AlongWith(&source);
  const std::vector<Companion> companions = along ? along->Companions() : std::vector<Companion>();
  return companions.empty() ? nullptr : std::make_unique<FfmpegSound>(OpenAnyDevice(*companions.front().stream));
}

FfmpegSound::FfmpegSound(OutputPtr device) : device_(std::move(device)) {
  if (device_) player_ = std::thread([this] { _Play(); });
}

FfmpegSound::~FfmpegSound() {
  if (!device_) return;
  {
    const std::scoped_lock lock(mutex_);
    ended_ = true;
  }
  changed_.notify_one();
  player_.join();
  av_write_trailer(device_.get());
}

void FfmpegSound::Begin(FrameSource& source, double time, double shift) {
  if (!device_) return;
  transcoder_ = ToSamples(*AlongWith(&source)->Companions().front().stream);
  transcoder_->BeginAt(time);
  shift_ = shift;
}

void FfmpegSound::Take(FrameSource& source) {
  FfmpegAccompaniment& along = *AlongWith(&source);
  for (CompanionPacket taken = along.TakePacket(); taken.packet; taken = along.TakePacket()) {
    if (!transcoder_ || taken.companion != 0) continue;
    try {
      _Add(std::move(taken));
    } catch (const Error&) {
      transcoder_.reset();
      throw;
    }
  }
}

void FfmpegSound::Forget() {
  const std::scoped_lock lock(mutex_);
  pieces_.clear();
}

void FfmpegSound::_Add(CompanionPacket taken) {
  std::vector<PacketPtr> converted = transcoder_->Convert(std::move(taken));
  const double unit = av_q2d(transcoder_->Unit());
  const std::scoped_lock lock(mutex_);
  for (PacketPtr& samples : converted) {
    const double time = shift_ + static_cast<double>(samples->pts) * unit;
    pieces_.push_back({time, std::move(samples)});
  }
  changed_.notify_one();
}

void FfmpegSound::SetClock(std::optional<double> now) {
  const std::scoped_lock lock(mutex_);
  zero_.reset();
  if (now) zero_ = Clock::now() - Span(*now);
  changed_.notify_one();
}

void FfmpegSound::_Play() {
  std::unique_lock lock(mutex_);
  while (!ended_) {
    if (pieces_.empty() || !zero_) {
      changed_.wait(lock);
      continue;
    }
    const Clock::time_point due = *zero_ + Span(pieces_.front().time);
    if (Clock::now() < due - kAhead) {
      changed_.wait_until(lock, due - kAhead);
      continue;
    }
    const Piece piece = std::move(pieces_.front());
    pieces_.pop_front();
    if (Clock::now() > due + kLate) continue;
    lock.unlock();
    // The device takes only sound without gaps.
    piece.samples->pts = piece.samples->dts = written_;
    piece.samples->stream_index = 0;
    written_ += piece.samples->duration;
    av_write_frame(device_.get(), piece.samples.get());
    lock.lock();
  }
}

}  // namespace qvgtool
