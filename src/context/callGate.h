#pragma once

#include <atomic>
#include <chrono>

namespace qvg {

/// Counts the calls in progress, so that a release can wait for those of other threads, and the end of the process can
/// let them leave the driver. Never destroyed.
class CallGate {
 public:
  /// False, and not counted, when the gate is closed.
  bool Enter();
  void Leave();

  /// Whether the calling thread is inside.
  static bool IsInside();
  /// Waits until nobody is inside. Not from inside.
  void WaitUntilEmpty() const;
  /// Lets nobody in any more. Waits for other threads inside, but no longer than the given time.
  void Close(std::chrono::milliseconds patience);

 private:
  std::atomic<int> inside_ = 0;
  std::atomic<bool> closed_ = false;
};

/// One call's stay inside.
class GatePass {
 public:
  explicit GatePass(CallGate& gate) : gate_(gate), inside_(gate.Enter()) {}
  ~GatePass() { Leave(); }
  GatePass(const GatePass&) = delete;
  GatePass& operator=(const GatePass&) = delete;

  bool Inside() const { return inside_; }
  void Leave() {
    if (inside_) gate_.Leave();
    inside_ = false;
  }

 private:
  CallGate& gate_;
  bool inside_;
};

}  // namespace qvg
