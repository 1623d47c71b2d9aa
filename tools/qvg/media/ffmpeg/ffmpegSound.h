// Plays a clip's sound while the clip is shown.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>

#include "media/ffmpeg/soundTranscoder.h"
#include "media/soundOutput.h"

namespace qvgtool {

class FfmpegSound : public SoundOutput {
 public:
  /** The device: PulseAudio's default one, else ALSA's. */
  explicit FfmpegSound(OutputPtr device);
  ~FfmpegSound() override;

  bool HasDevice() const override { return device_ != nullptr; }
  void Begin(FrameSource& source, double time, double shift) override;
  void Take(FrameSource& source) override;
  void Forget() override;
  void SetClock(std::optional<double> now) override;

 private:
  using Clock = std::chrono::steady_clock;
  struct Piece {
    double time;
    PacketPtr samples;
  };

  void _Add(CompanionPacket taken);
  void _Play();

  OutputPtr device_;                             // null: none.
  std::unique_ptr<SoundTranscoder> transcoder_;  // null: nothing is to be played.
  double shift_ = 0;
  int64_t written_ = 0;  // In the device's time unit.

  std::mutex mutex_;  // Guards what follows.
  std::condition_variable changed_;
  std::deque<Piece> pieces_;
  std::optional<Clock::time_point> zero_;  // When the clip's clock was, or would have been, at 0.
  bool ended_ = false;
  std::thread player_;
};

}  // namespace qvgtool
