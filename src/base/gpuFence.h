#pragma once

#include <utility>

namespace qvg {

/// A point in one context's stream of GPU work. Owns one GL sync object.
class GpuFence {
 public:
  GpuFence() = default;
  ~GpuFence();
  GpuFence(GpuFence&& other) noexcept : sync_(std::exchange(other.sync_, nullptr)) {}
  GpuFence& operator=(GpuFence&& other) noexcept {
    std::swap(sync_, other.sync_);
    return *this;
  }

  /// After all work submitted so far on the calling thread's context, which is one of the library's.
  static GpuFence Insert();

  bool Empty() const { return sync_ == nullptr; }
  /// Makes the GPU finish the fenced work before what the calling thread's context submits next. Doesn't block the
  /// thread.
  void Wait() const;

 private:
  void* sync_ = nullptr;
};

}  // namespace qvg
