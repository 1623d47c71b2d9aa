#pragma once

#include <memory>

#include "bench/work.h"

namespace bench {

/// Of OpenGL 4.2. Everything in it goes with it.
class BareContext {
 public:
  virtual ~BareContext() = default;
  /// On the calling thread. Throws.
  virtual void MakeCurrent() = 0;
};

/// The least GL work for the same pixels, with the library's formulas and sampling: every object made once, each
/// program made for its one purpose, no checks. The GL functions must be loaded. Throws.
std::unique_ptr<Renderer> MakeBareRenderer(std::unique_ptr<BareContext> context, Work work, Size size);

}  // namespace bench
