#include "window/playback.h"

#include <algorithm>

namespace qvgtool {
namespace {

// The clip catches up after a short delay; after a longer one it goes on from where it is, rather than racing.
constexpr double kCatchUp = 0.5;
constexpr double kRateSpan = 1;

}  // namespace

std::optional<double> Playback::Delay(double frameTime, double now) {
  if (step_) return 0;
  if (paused_) return std::nullopt;
  if (!paced_ || !start_) return 0;
  return std::max(0.0, *start_ + frameTime - now);
}

std::optional<double> Playback::TimeAt(double now) const {
  if (!paced_ || paused_ || !start_) return std::nullopt;
  return now - *start_;
}

void Playback::Shown(double frameTime, double now) {
  const double start = now - frameTime;
  if (!start_ || step_ || start - *start_ > kCatchUp) start_ = start;
  step_ = false;
  shown_.push_back(now);
  while (shown_.size() > 2 && now - shown_.front() > kRateSpan) shown_.pop_front();
}

void Playback::TogglePause() {
  paused_ = !paused_;
  Jump();
}

void Playback::Pause() {
  if (!paused_) TogglePause();
}

void Playback::Jump() {
  step_ = false;
  start_.reset();
  shown_.clear();
}

void Playback::Step() {
  Pause();
  step_ = true;
}

double Playback::Rate() const {
  if (shown_.size() < 2) return 0;
  return static_cast<double>(shown_.size() - 1) / std::max(1e-6, shown_.back() - shown_.front());
}

}  // namespace qvgtool
