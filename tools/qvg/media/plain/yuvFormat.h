// The layouts of YUV in Y4M streams: planes of 8 bits, or of more in the lower bits of 16.
#pragma once

#include <span>

#include "media/frame.h"

namespace qvgtool {

struct YuvFormat {
  PixelFormat format;
  const char* name;      // As in the stream's header.
  int chromaX, chromaY;  // Pixels that share a chroma value, in each direction.
  int bits;
  bool gray = false;
  bool chromaLeft = false;
  size_t BytesOfSample() const { return bits > 8 ? 2 : 1; }
  size_t Planes() const { return gray ? 1 : 3; }
  int Width(int pixels, size_t plane) const { return plane == 0 ? pixels : (pixels + chromaX - 1) / chromaX; }
  int Height(int lines, size_t plane) const { return plane == 0 ? lines : (lines + chromaY - 1) / chromaY; }
};

/** All of them; several names may mean the same format. */
std::span<const YuvFormat> YuvFormats();

/** null: the format is not one of them. */
const YuvFormat* FindYuv(PixelFormat format);

/** Allocates such a picture. */
FramePtr NewYuvFrame(const YuvFormat& layout, int width, int height);

/** Converts RGBA to limited-range 8-bit 4:2:0, with chroma sited in the middle of its four pixels. */
void EncodeI420(const Frame& rgba, int matrix, Frame& i420);

}  // namespace qvgtool
