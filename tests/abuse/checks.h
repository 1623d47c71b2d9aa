// What must hold between two stretches of abuse or of long work.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg::test {

/// Uploads a small picture, draws it and reads it back on the current context: "" when it came back byte for byte.
const char* PictureFault(const QVGGLRendererInterface& gl, uint32_t seed);

/// GL names by kind (see Names) with pools empty and all contexts gone but this one, which is made current. For when
/// all handles were given back.
std::vector<size_t> CountsWhenIdle(const QVGGLRendererInterface& gl, QVGGLContext* context);

}  // namespace qvg::test
