// Cameras, screens and other live inputs, through FFmpeg's devices.
#pragma once

#include <string>

#include "media/ffmpeg/ffmpegPtr.h"
#include "media/mediaReader.h"

namespace qvgtool {

/** device: FORMAT:NAME, such as "v4l2:/dev/video0" or "x11::0". input: allocated, with its
 *  callback set. Throws Error. */
void OpenCapture(const std::string& device, const CaptureOptions& options, InputPtr& input);

}  // namespace qvgtool
