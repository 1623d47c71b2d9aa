// Cameras, screens and other live inputs, through FFmpeg's devices.
#pragma once

#include <string>
#include <vector>

#include "media/ffmpegPtr.h"

namespace qvgtool {

struct CaptureOptions {
  std::string size, rate;  // As FFmpeg writes them; empty: the device's own.
};

/** The formats of video devices that this FFmpeg has, with the names that they go by: "video4linux2,v4l2". */
std::vector<std::string> CaptureFormats();

/** device: FORMAT:NAME, such as "v4l2:/dev/video0" or "x11::0". input: allocated, its callback set. Throws Error. */
void OpenCapture(const std::string& device, const CaptureOptions& options, InputPtr& input);

}  // namespace qvgtool
