#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace qvg {

/// Decides which of the windows that a thread shows in turns waits for the display: only one of them, so that a round
/// takes one refresh, however many there are.
class SwapPacer {
 public:
  /// That of the calling thread.
  static SwapPacer& OfThread();

  /// How many refreshes showing the window waits for, 1 or 0. To be asked at each swap; the window is only an
  /// identifier.
  int IntervalFor(const void* window);

 private:
  struct Follower {
    const void* window;
    uint64_t round;  // in which it was shown last
  };

  const void* leader_ = nullptr;
  uint64_t round_ = 0;  // how often a leader was shown
  std::array<Follower, 16> followers_ = {};
  size_t next_ = 0;
};

}  // namespace qvg
