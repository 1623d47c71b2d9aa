// Image files hold colours straight; the library's effects take them multiplied by alpha.
#pragma once

#include "media/ffmpegPtr.h"

namespace qvgtool {

/** Whether pictures of this format can be transparent somewhere. */
bool MayHaveAlpha(int pixelFormat);

/** A copy of an RGBA frame with its colours multiplied by alpha. */
FramePtr Premultiplied(const AVFrame& straight);

}  // namespace qvgtool
