#include "base/swapPacer.h"

#include <algorithm>
#include <utility>

namespace qvg {

SwapPacer& SwapPacer::OfThread() {
  constinit static thread_local SwapPacer pacer;
  return pacer;
}

int SwapPacer::IntervalFor(const void* window) {
  const auto lead = [&] {
    leader_ = window;
    ++round_;
    return 1;
  };
  if (leader_ == nullptr || window == leader_) return lead();
  auto known = std::find_if(followers_.begin(), followers_.end(),
                            [&](const Follower& follower) { return follower.window == window; });
  if (known == followers_.end()) {
    known = followers_.begin() + static_cast<ptrdiff_t>(next_++ % followers_.size());
    *known = {window, round_ - 1};
  }
  // Shown twice while the leader wasn't shown: it no longer follows.
  return std::exchange(known->round, round_) == round_ ? lead() : 0;
}

}  // namespace qvg
