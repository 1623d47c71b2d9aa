#include "reference/image.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace qvg::reference {

uint8_t Wave(double x, double y, int channel, int seed) {
  const double phase = 1.3 * channel + 0.9 * seed;
  const double value = 127.5 + 62 * std::sin(0.19 * x + 0.07 * y + phase) +
                       52 * std::sin(0.11 * x - 0.17 * y + 2.1 * phase + 0.4 * channel * channel);
  return static_cast<uint8_t>(std::lround(value));
}

Image Picture(int width, int height, int seed, bool opaque) {
  return MakeImage(width, height, [&](int x, int y) {
    Color color;
    for (int c = 0; c < 4; ++c) color[c] = Wave(x, y, c, seed) / 255.0;
    if (opaque) color[3] = 1;
    return color;
  });
}

Image Cutout(int width, int height, int seed) {
  Image image = Picture(width, height, seed);
  for (Color& color : image.texels) {
    color[3] = std::clamp(2 * color[3] - 0.5, 0.0, 1.0);
    for (int c = 0; c < 3; ++c) color[c] *= color[3];
  }
  return Quantised(image);
}

Color Straight(const Color& color) {
  const double alpha = color[3];
  if (alpha < 1e-6) return {};  // from a neighbour that only rounding touched
  return {color[0] / alpha, color[1] / alpha, color[2] / alpha, alpha};
}

Image Straight(Image image) {
  for (Color& color : image.texels) color = Straight(color);
  return image;
}

Image ImageOfBGRX(const uint8_t* bytes, int width, int height) {
  return MakeImage(width, height, [&](int x, int y) -> Color {
    const uint8_t* pixel = bytes + (static_cast<size_t>(y) * width + x) * 4;
    return {pixel[2] / 255.0, pixel[1] / 255.0, pixel[0] / 255.0, 1};
  });
}

Image FlippedRows(const Image& image) {
  return MakeImage(image.width, image.height, [&](int x, int y) { return image.at(x, image.height - 1 - y); });
}

Image Crop(const Image& image, int x, int y, int width, int height) {
  return MakeImage(width, height, [&](int i, int j) { return image.at(x + i, y + j); });
}

Image Over(Image image, const Image& part, int left, int bottom) {
  for (int y = 0; y < part.height; ++y)
    for (int x = 0; x < part.width; ++x) image.at(left + x, bottom + y) = part.at(x, y);
  return image;
}

Image Quantised(const Image& image) {
  Image result = image;
  for (Color& color : result.texels)
    for (double& value : color) value = std::floor(std::clamp(value, 0.0, 1.0) * 255 + 0.5) / 255;
  return result;
}

std::vector<uint8_t> Bytes(const Image& image, bool bgra) {
  std::vector<uint8_t> bytes;
  for (const Color& color : image.texels)
    for (const int c : {bgra ? 2 : 0, 1, bgra ? 0 : 2, 3})
      bytes.push_back(static_cast<uint8_t>(std::lround(color[c] * 255)));
  return bytes;
}

Image FromBytes(const uint8_t* bytes, int width, int height) {
  return MakeImage(width, height, [&](int x, int y) {
    Color color;
    for (size_t c = 0; c < 4; ++c) color[c] = bytes[4 * (static_cast<size_t>(y) * width + x) + c] / 255.0;
    return color;
  });
}

Color SampleLinear(const Image& image, double x, double y) {
  const double left = std::floor(x - 0.5), top = std::floor(y - 0.5);
  const double fx = x - 0.5 - left, fy = y - 0.5 - top;
  const auto texel = [&](double column, double row) -> const Color& {
    return image.at(static_cast<int>(std::clamp(column, 0.0, image.width - 1.0)),
                    static_cast<int>(std::clamp(row, 0.0, image.height - 1.0)));
  };
  Color result;
  for (int c = 0; c < 4; ++c) {
    const double upper = (1 - fx) * texel(left, top)[c] + fx * texel(left + 1, top)[c];
    const double lower = (1 - fx) * texel(left, top + 1)[c] + fx * texel(left + 1, top + 1)[c];
    result[c] = (1 - fy) * upper + fy * lower;
  }
  return result;
}

std::string SizeFault(const Image& expected, const Image& actual) {
  if (actual.width == expected.width && actual.height == expected.height) return "";
  std::ostringstream text;
  text << "size " << actual.width << " x " << actual.height << ", expected " << expected.width << " x "
       << expected.height;
  return text.str();
}

std::string TexelFault(const Image& expected, const Image& actual, size_t i) {
  std::ostringstream text;
  text << "texel (" << i % actual.width << ", " << i / actual.width << ") is";
  for (const double value : actual.texels[i]) text << ' ' << std::lround(value * 255);
  text << ", expected";
  for (const double value : expected.texels[i]) text << ' ' << value * 255;
  return text.str();
}

std::string Compare(const Image& expected, const Image& actual, double limit, Errors& errors,
                    const std::vector<bool>& skip) {
  if (std::string fault = SizeFault(expected, actual); !fault.empty()) return fault;
  std::ostringstream text;
  size_t bad = 0;
  for (size_t i = 0; i < actual.texels.size(); ++i) {
    if (!skip.empty() && skip[i]) continue;
    double error = 0;
    for (int c = 0; c < 4; ++c)
      error = std::max(error, std::abs(actual.texels[i][c] - std::clamp(expected.texels[i][c], 0.0, 1.0)) * 255);
    ++errors.compared;
    errors.largest = std::max(errors.largest, error);
    if (error <= limit || bad++ > 0) continue;
    text << TexelFault(expected, actual, i) << ": off by " << error << " steps";
  }
  if (bad > 1) text << " (" << bad << " such texels of " << actual.texels.size() << ')';
  return text.str();
}

std::string Difference(const Image& expected, const Image& actual, double limit, const std::vector<bool>& skip) {
  Errors errors;
  return Compare(expected, actual, limit, errors, skip);
}

}  // namespace qvg::reference
