#include "commands/progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cmath>

namespace qvgtool {

std::string ClockText(double seconds) {
  const auto all = static_cast<int64_t>(std::lround(seconds));
  if (all >= 3600) return fmt::format("{}:{:02}:{:02}", all / 3600, all / 60 % 60, all % 60);
  return fmt::format("{}:{:02}", all / 60, all % 60);
}

Progress::Progress(int64_t total)
    : total_(total), terminal_(isatty(STDERR_FILENO) == 1), start_(std::chrono::steady_clock::now()), next_(start_) {}

double Progress::Seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void Progress::Update(int64_t done) {
  const auto now = std::chrono::steady_clock::now();
  if (!terminal_ || now < next_) return;
  next_ = now + std::chrono::milliseconds(200);
  const double rate = static_cast<double>(done) / std::max(1e-6, Seconds());
  std::string line = fmt::format("{} frames, {:.1f} frames/s", done, rate);
  if (total_ >= done && total_ > 0) {
    line = fmt::format("{} of {} frames, {:.1f} frames/s, {} left", done, total_, rate,
                       ClockText(static_cast<double>(total_ - done) / std::max(1e-6, rate)));
  }
  fmt::print(stderr, "\r\033[K{}", line);
  std::fflush(stderr);
  shown_ = true;
}

void Progress::Clear() {
  if (!shown_) return;
  fmt::print(stderr, "\r\033[K");
  std::fflush(stderr);
  shown_ = false;
}

}  // namespace qvgtool
