// The expected results of reading back, computed on the CPU in double precision, and the actual ones.
#pragma once

#include <string>
#include <vector>

#include "qvGLRenderer/qvGLRenderer.h"
#include "reference/image.h"

namespace qvg::reference {

/// The planes of a read-back; each value is in the first channel.
struct Planes {
  Image luma;
  std::vector<Image>
      chroma;  // one plane of width x height/2 with alternating U and V, or U and V of width/2 x height/2
};

/// content: as sampled, texture row 0 first. flip: the last row comes first.
Planes ExpectedNV12(const Image& content, bool flip, bool mirror);
Planes ExpectedI420(const Image& content, bool flip, bool mirror, bool fullRange);

/// In steps from the exact value: half a step for rounding the result and, where rows or columns are averaged, one for
/// drivers that filter with 8 bits.
constexpr double kYuvReadBackLimit = 1.51;
/// The colours sampled from a texture with these texels when its channel order is one of 0 to 3.
Image Reordered(const Image& picture, int order);

/// The bytes of a packed read-back as a picture.
Image PixelsOf(const QVGPixelBuffer& buffer);
Planes PlanesOf(const QVGPixelBuffer& buffer);
/// Compares plane by plane.
std::string Compare(const Planes& expected, const QVGPixelBuffer& buffer, double limit, Errors& errors);

}  // namespace qvg::reference
