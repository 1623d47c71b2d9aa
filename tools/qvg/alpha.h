// Straight and premultiplied alpha. Image files and the library's blending take colours straight; the library's effects
// take and give them multiplied by alpha.
#pragma once

#include "ffmpegPtr.h"

namespace qvgtool {

/** Copies of an RGBA frame with the other kind of alpha. */
FramePtr Premultiplied(const AVFrame& straight);
FramePtr Unpremultiplied(const AVFrame& premultiplied);

}  // namespace qvgtool
