// FFmpeg's filters on single pictures.
#pragma once

#include <string>

#include "media/ffmpeg/ffmpegPtr.h"

namespace qvgtool {

/** The picture that comes out of a chain of FFmpeg's filters; null when this build of FFmpeg can't make the chain. */
AvFramePtr Filtered(const AVFrame& frame, const std::string& chain);

/** Escapes a text for use as a value in a chain. */
std::string FilterText(const std::string& text);

}  // namespace qvgtool
