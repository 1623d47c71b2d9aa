// FFmpeg's filters on single pictures.
#pragma once

#include <string>

#include "media/ffmpeg/ffmpegPtr.h"

namespace qvgtool {

/** The picture that comes out of a chain of FFmpeg's filters; null when the chain can't be had here. */
AvFramePtr Filtered(const AVFrame& frame, const std::string& chain);

/** Any text as a value in a chain. */
std::string FilterText(const std::string& text);

}  // namespace qvgtool
