#pragma once

#include <utility>

#include "base/contextObjects.h"

namespace qvg {

/// Orders the GPU work of two contexts around an object that passes from one to the other. Owns one GL sync object.
class GpuFence {
 public:
  GpuFence() = default;
  ~GpuFence();
  GpuFence(GpuFence&& other) noexcept
      : sync_(std::exchange(other.sync_, nullptr)), context_(std::exchange(other.context_, 0)) {}
  GpuFence& operator=(GpuFence&& other) noexcept {
    std::swap(sync_, other.sync_);
    std::swap(context_, other.context_);
    return *this;
  }

  /// A fence behind all work submitted so far on the calling thread's context; an empty one without a context.
  static GpuFence Insert();

  /// Lets the GPU finish the fenced work before what the calling thread's context submits next. Does not block the
  /// thread. Costs nothing on the context that made the fence.
  void Wait();

 private:
  void* sync_ = nullptr;
  ContextId context_ = 0;
};

}  // namespace qvg
