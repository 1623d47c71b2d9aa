#pragma once

#include <cstdint>

#include "base/contextState.h"
#include "base/gpuFence.h"

namespace qvg {

/// Orders GPU work around a recycled object that may pass from one context to another. An object that stays with one
/// context costs nothing; one that comes back on another context than it was taken on gets a fence.
class HandOver {
 public:
  /// Whether the calling thread's context may take the object: it used it last, or can wait for whoever did.
  bool Ready() const;
  /// The calling thread's context takes it: lets the GPU wait where that is needed.
  void Take();
  /// The object comes back, to be taken again by the same context or, once that was left, by any.
  void Give();
  /// The object comes back for any context.
  void GiveToAny();

  ContextId User() const { return user_; }

 private:
  ContextId user_ = 0;       // whose work may be pending
  uint64_t departures_ = 0;  // how often the user had been left by then
  GpuFence fence_;
};

}  // namespace qvg
