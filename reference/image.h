// Pictures in double precision, with which the tests compute independently of the library.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qvg::reference {

using Color = std::array<double, 4>;  // R, G, B, A, 0..1

struct Image {
  int width = 0, height = 0;
  std::vector<Color> texels;  // row 0 is texture row 0

  Image() = default;
  Image(int w, int h, Color fill = {}) : width(w), height(h), texels(static_cast<size_t>(w) * h, fill) {}
  Color& at(int x, int y) { return texels[static_cast<size_t>(y) * width + x]; }
  const Color& at(int x, int y) const { return texels[static_cast<size_t>(y) * width + x]; }
  bool empty() const { return texels.empty(); }
};

/// An image whose texels come from make(x, y).
template <typename Make>
Image MakeImage(int width, int height, Make make) {
  Image image(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) image.at(x, y) = make(x, y);
  return image;
}

/// From bytes B, G, R and an ignored one, rows without padding.
Image ImageOfBGRX(const uint8_t* bytes, int width, int height);

/// A sample, 0..255, of the test pictures: no two channels, seeds, rows or columns are alike, and neighbours differ by
/// less than 25, so that a sampler's 8-bit weights change a result by less than a tenth of a step.
uint8_t Wave(double x, double y, int channel, int seed);
/// The test picture, with four different channels or with alpha 1.
Image Picture(int width, int height, int seed, bool opaque = false);
/// A premultiplied picture with transparent holes, as from keying.
Image Cutout(int width, int height, int seed);
/// Un-premultiplies a colour.
Color Straight(const Color& color);
Image Straight(Image image);

Image FlippedRows(const Image& image);
Image Crop(const Image& image, int x, int y, int width, int height);
/// The picture with a part replaced by another one.
Image Over(Image image, const Image& part, int left, int bottom);
/// Each channel rounded to 8 bits, as a texture stores it.
Image Quantised(const Image& image);

/// Four bytes per pixel, rows without padding.
std::vector<uint8_t> Bytes(const Image& image, bool bgra = false);
Image FromBytes(const uint8_t* bytes, int width, int height);

/// The bilinear sample at a place in texels (0 is the left edge of the first), clamped to the edges.
Color SampleLinear(const Image& image, double x, double y);

/// The largest error so far, in steps of 1/255 from the exact value: rounding alone gives 0.5.
struct Errors {
  double largest = 0;
  size_t compared = 0;
};

/// How the sizes differ; "" when they don't.
std::string SizeFault(const Image& expected, const Image& actual);
/// What texel i is, and what it should be.
std::string TexelFault(const Image& expected, const Image& actual, size_t i);
/// "" when every texel of actual is within limit steps of the expected one, else the place and the difference. Texels
/// for which skip is set are left out.
std::string Compare(const Image& expected, const Image& actual, double limit, Errors& errors,
                    const std::vector<bool>& skip = {});
/// The same without reporting the errors; by default both must hold the same bytes.
std::string Difference(const Image& expected, const Image& actual, double limit = 0.01,
                       const std::vector<bool>& skip = {});

}  // namespace qvg::reference
