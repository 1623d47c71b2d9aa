#include "context/callGate.h"

#include <thread>

namespace qvg {

namespace {

constexpr std::chrono::microseconds kGlance(200);

constinit thread_local int depth = 0;  // of the calling thread's calls, one inside another

}  // namespace

// Whoever reads inside_ has first changed what entering threads read: the gate, or what runs behind it. All of it is
// sequentially consistent, so that at least one side sees the other.
bool CallGate::Enter() {
  ++inside_;
  if (closed_) {
    --inside_;
    return false;
  }
  ++depth;
  return true;
}

void CallGate::Leave() {
  --depth;
  --inside_;
}

bool CallGate::IsInside() { return depth > 0; }

void CallGate::WaitUntilEmpty() const {
  while (inside_ > 0) std::this_thread::sleep_for(kGlance);
}

void CallGate::Close(std::chrono::milliseconds patience) {
  closed_ = true;
  const auto end = std::chrono::steady_clock::now() + patience;
  while (inside_ > depth && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(kGlance);
}

}  // namespace qvg
