// Resizes pictures.
#pragma once

#include "media/frame.h"

namespace qvgtool {

/** Both have the same packed format with that many bytes per pixel; each channel is resized by itself. */
void Resize(const Frame& from, int channels, Frame& to);

}  // namespace qvgtool
