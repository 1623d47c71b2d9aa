#pragma once

#include <EGL/egl.h>

#include <memory>

#include "bench/bareGL.h"

namespace bench {

/// A context of its own for a bare program, which shares nothing with the library's. Throws.
std::unique_ptr<BareContext> MakeEglContext(EGLDisplay display);

}  // namespace bench
