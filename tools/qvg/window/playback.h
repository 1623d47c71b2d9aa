// When a clip's frames are due, and whether it is paused. Has no clock of its own: the time is passed in.
#pragma once

#include <deque>
#include <optional>

namespace qvgtool {

class Playback {
 public:
  /** paced: frames keep the clip's timing; otherwise each is due at once. */
  explicit Playback(bool paced) : paced_(paced) {}

  /** Seconds from now until the frame at that time in the clip is due, 0 when it is late; none while paused. */
  std::optional<double> Delay(double frameTime, double now);
  /** The frame at that time has been shown. */
  void Shown(double frameTime, double now);

  void TogglePause();
  void Pause();
  /** The next frame comes from elsewhere in the clip. */
  void Jump();
  /** Lets one frame through and pauses after it. */
  void Step();
  /** The time in the clip; none while it stands still, or is not paced. */
  std::optional<double> TimeAt(double now) const;

  bool Stepping() const { return step_; }
  bool Paused() const { return paused_; }

  /** Frames shown per second, over about the last second; 0 with fewer than two frames. */
  double Rate() const;

 private:
  bool paced_;
  bool paused_ = false, step_ = false;
  std::optional<double> start_;  // When the clip's time 0 was, or would have been.
  std::deque<double> shown_;
};

}  // namespace qvgtool
