// FFmpeg's filters on single pictures.
#pragma once

#include <string>

#include "media/ffmpegPtr.h"

namespace qvgtool {

/** The picture that comes out of a chain of FFmpeg's filters; null when the chain can't be had here. */
FramePtr Filtered(const AVFrame& frame, const std::string& chain);

/** Any text as a value in a chain. */
std::string FilterText(const std::string& text);

/** A turned copy, clockwise. Throws Error. */
FramePtr Upright(const AVFrame& frame, int quarterTurns);

}  // namespace qvgtool
