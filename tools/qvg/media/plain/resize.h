// Pictures in another size.
#pragma once

#include "media/frame.h"

namespace qvgtool {

/** Both of the same packed format with so many bytes a pixel; each channel by itself. */
void Resize(const Frame& from, int channels, Frame& to);

}  // namespace qvgtool
