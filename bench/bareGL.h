#pragma once

#include <EGL/egl.h>

#include <memory>

#include "work.h"

namespace bench {

/// The least GL work for the same pixels, with the library's formulas and sampling: every object made once, each
/// program made for its one purpose, no checks. On a context of its own, which shares nothing with the library's.
/// The GL functions must be loaded.
std::unique_ptr<Renderer> MakeBareRenderer(EGLDisplay display, Work work, Size size);

}  // namespace bench
