// Sound that is heard while a clip is shown.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>

#include "media/soundTranscoder.h"

namespace qvgtool {

class SoundOutput {
 public:
  /** Opens the device: PulseAudio's default one, else ALSA's. from: what rate and channels are taken from. @return null
   *  when there is none. */
  static std::unique_ptr<SoundOutput> Open(const AVStream& from);
  ~SoundOutput();

  /** Packets of this stream follow, and lie behind that time of it. shift: what the clock shows at the stream's time 0.
   *  Both in seconds. Throws Error. */
  void Begin(const AVStream& from, double time, double shift);
  void Add(CompanionPacket taken);
  /** What was added and not heard yet is left out. */
  void Forget();

  /** What the clock shows now; none while it stands still, and nothing is heard. */
  void SetClock(std::optional<double> now);

 private:
  using Clock = std::chrono::steady_clock;
  struct Piece {
    double time;
    PacketPtr samples;
  };

  explicit SoundOutput(OutputPtr device);
  void _Play();

  OutputPtr device_;
  std::unique_ptr<SoundTranscoder> transcoder_;
  double shift_ = 0;
  int64_t written_ = 0;  // In the device's unit.

  std::mutex mutex_;  // Guards what follows.
  std::condition_variable changed_;
  std::deque<Piece> pieces_;
  std::optional<Clock::time_point> zero_;  // When the clock was, or would have been, at 0.
  bool ended_ = false;
  std::thread player_;
};

}  // namespace qvgtool
