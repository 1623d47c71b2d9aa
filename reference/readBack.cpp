#include "reference/readBack.h"

#include <algorithm>
#include <cstddef>

namespace qvg::reference {
namespace {

double Luma(const Color& c) { return 0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2]; }
double BlueDifference(const Color& c) { return -0.169 * c[0] - 0.331 * c[1] + 0.5 * c[2]; }
double RedDifference(const Color& c) { return 0.5 * c[0] - 0.419 * c[1] - 0.081 * c[2]; }

// The image that the conversion draws: luma in the first two thirds, chroma in the last.
template <typename Chroma>
Planes ReadBack(const Image& content, bool flip, bool mirror, bool fullRange, Chroma chroma) {
  const int width = content.width, height = content.height, rows = height * 3 / 2;
  const auto sample = [&](double u, double v, double shift) {
    if (flip) v = 1 - v;
    if (mirror) u = 1 - u;
    return SampleLinear(content, std::clamp(u * width + shift, 0.0, 1.0 * width),
                        std::clamp(v * height, 0.0, 1.0 * height));
  };
  const Image drawn = MakeImage(width, rows, [&](int x, int y) -> Color {
    const double u = (x + 0.5) / width, v = (y + 0.5) / rows;
    if (y < height) {
      const double value = Luma(sample(u, v * 1.5, 0));
      return {fullRange ? value : (value * 219 + 16) / 255};
    }
    const double value = chroma(x, u, (v - 2.0 / 3) * 3, sample);
    return {fullRange ? value : (value * 224 + 128) / 255};
  });
  Planes planes;
  planes.luma = Crop(drawn, 0, 0, width, height);
  planes.chroma.push_back(Crop(drawn, 0, height, width, height / 2));
  return planes;
}

}  // namespace

Planes ExpectedNV12(const Image& content, bool flip, bool mirror) {
  return ReadBack(content, flip, mirror, false, [](int x, double u, double v, const auto& sample) {
    return x % 2 == 0 ? BlueDifference(sample(u, v, 0)) : RedDifference(sample(u, v, -1));
  });
}

Planes ExpectedI420(const Image& content, bool flip, bool mirror, bool fullRange) {
  const int half = content.width / 2;
  Planes planes = ReadBack(content, flip, mirror, fullRange, [half](int x, double u, double v, const auto& sample) {
    return x < half ? BlueDifference(sample(2 * u, v, 0)) : RedDifference(sample(2 * (u - 0.5), v, 0));
  });
  const Image both = planes.chroma.front();
  planes.chroma = {Crop(both, 0, 0, half, both.height), Crop(both, half, 0, half, both.height)};
  return planes;
}

Image Reordered(const Image& picture, int order) {
  static constexpr int kSources[4][4] = {{2, 1, 0, 3}, {0, 1, 2, 3}, {3, 2, 1, 0}, {1, 2, 3, 0}};
  Image result = picture;
  for (size_t i = 0; i < result.texels.size(); ++i)
    for (int c = 0; c < 4; ++c) result.texels[i][c] = picture.texels[i][kSources[order][c]];
  return result;
}

Image PixelsOf(const QVGPixelBuffer& buffer) {
  const bool swapped = buffer.format == QVG_FORMAT_BGRA;
  return MakeImage(buffer.width, buffer.height, [&](int x, int y) -> Color {
    const uint8_t* pixel = buffer.plane[0] + static_cast<ptrdiff_t>(y) * buffer.stride[0] + 4 * x;
    return {pixel[swapped ? 2 : 0] / 255.0, pixel[1] / 255.0, pixel[swapped ? 0 : 2] / 255.0, pixel[3] / 255.0};
  });
}

Planes PlanesOf(const QVGPixelBuffer& buffer) {
  const auto plane = [&](int p, int width, int height) {
    return MakeImage(width, height, [&](int x, int y) -> Color {
      return {buffer.plane[p][static_cast<ptrdiff_t>(y) * buffer.stride[p] + x] / 255.0};
    });
  };
  Planes planes;
  planes.luma = plane(0, buffer.width, buffer.height);
  if (buffer.format == QVG_FORMAT_NV12) {
    planes.chroma = {plane(1, buffer.width, buffer.height / 2)};
  } else {
    planes.chroma = {plane(1, buffer.width / 2, buffer.height / 2), plane(2, buffer.width / 2, buffer.height / 2)};
  }
  return planes;
}

std::string Compare(const Planes& expected, const QVGPixelBuffer& buffer, double limit, Errors& errors) {
  const Planes actual = PlanesOf(buffer);
  std::string faults = Compare(expected.luma, actual.luma, limit, errors);
  for (size_t i = 0; i < expected.chroma.size(); ++i)
    faults += Compare(expected.chroma[i], actual.chroma[i], limit, errors);
  return faults;
}

}  // namespace qvg::reference
