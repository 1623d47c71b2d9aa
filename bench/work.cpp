#include "bench/work.h"

#include <algorithm>
#include <cmath>
#include <list>
#include <utility>

namespace bench {

namespace {

struct RGB {
  float r, g, b;
};

class Noise {
 public:
  explicit Noise(uint32_t seed) : state_(seed) {}
  /// -amount .. amount
  float operator()(float amount) {
    state_ = state_ * 1664525u + 1013904223u;
    return amount * (static_cast<float>(state_ >> 8) / 8388608.0f - 1.0f);
  }

 private:
  uint32_t state_;
};

uint8_t Byte(float value) { return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0f, 255.0f))); }

RGB Mix(const RGB& a, const RGB& b, float share) {
  return {a.r + (b.r - a.r) * share, a.g + (b.g - a.g) * share, a.b + (b.b - a.b) * share};
}

// 1 inside the ellipse, 0 outside, with a soft edge. Distances in heights of the picture.
float Ellipse(float x, float y, float centreX, float centreY, float radiusX, float radiusY) {
  const float distance = std::hypot((x - centreX) / radiusX, (y - centreY) / radiusY);
  return std::clamp((1.0f - distance) * 60.0f + 0.5f, 0.0f, 1.0f);
}

// Head, hair, arms and a striped shirt before a screen that is not quite evenly lit.
RGB Figure(float x, float y, float middle) {
  const float lit = 1.0f + 0.1f * std::sin(3.0f * x + 1.0f) * std::cos(2.0f * y);
  RGB c = {38 * lit, 190 * lit, 58 * lit};
  const bool stripe = std::sin((x + y) * 60.0f) > 0;
  const RGB skin = {205 - 30 * y, 155 - 25 * y, 122 - 20 * y};
  c = Mix(c, {60, 42, 36}, Ellipse(x, y, middle, 0.27f, 0.19f, 0.23f));
  c = Mix(c, stripe ? RGB{60, 80, 170} : RGB{220, 214, 205}, Ellipse(x, y, middle, 1.0f, 0.42f, 0.5f));
  c = Mix(c, skin, Ellipse(x, y, middle, 0.33f, 0.15f, 0.21f));
  for (const float side : {-1.0f, 1.0f}) c = Mix(c, skin, Ellipse(x, y, middle + side * 0.46f, 0.8f, 0.07f, 0.3f));
  return c;
}

void AppendYUV(Pictures& pictures, Size size) {
  const auto width = static_cast<size_t>(size.width);
  const size_t chroma = size.Pixels() / 4;
  pictures.nv12.resize(size.Pixels() * 3 / 2);
  for (size_t i = 0; i < size.Pixels(); ++i) {
    const uint8_t* p = &pictures.rgba[i * 4];
    pictures.nv12[i] = Byte(0.299f * p[0] + 0.587f * p[1] + 0.114f * p[2]);
  }
  pictures.i420 = pictures.nv12;
  for (size_t i = 0; i < chroma; ++i) {
    const uint8_t* p = &pictures.rgba[(i / (width / 2) * 2 * width + i % (width / 2) * 2) * 4];
    const uint8_t u = Byte(-0.1687f * p[0] - 0.3313f * p[1] + 0.5f * p[2] + 128);
    const uint8_t v = Byte(0.5f * p[0] - 0.4187f * p[1] - 0.0813f * p[2] + 128);
    pictures.nv12[size.Pixels() + i * 2] = pictures.i420[size.Pixels() + i] = u;
    pictures.nv12[size.Pixels() + i * 2 + 1] = pictures.i420[size.Pixels() + chroma + i] = v;
  }
}

Pictures MakePictures(Size size) {
  Pictures pictures;
  Noise noise(1);
  const float height = static_cast<float>(size.height);
  const float middle = static_cast<float>(size.width) / height / 2;
  for (int row = 0; row < size.height; ++row) {
    for (int column = 0; column < size.width; ++column) {
      const float x = static_cast<float>(column) / height;
      const float y = static_cast<float>(row) / height;
      const RGB c = Figure(x, y, middle);
      for (const float part : {c.r, c.g, c.b}) pictures.rgba.push_back(Byte(part + noise(4)));
      pictures.rgba.push_back(255);
      const float wave = 40 * std::sin(20 * x) * std::sin(14 * y);
      for (const float part : {200 - 120 * y, 150 + wave, 90 + 80 * y}) pictures.background.push_back(Byte(part));
      pictures.background.push_back(255);
    }
  }
  AppendYUV(pictures, size);
  return pictures;
}

}  // namespace

std::vector<Layer> MakeLayers(Size target) {
  std::vector<Layer> layers;
  for (int i = 0; i < 40; ++i) {
    layers.push_back({i * 487 % (target.width - kLayerSize), i * 263 % (target.height - kLayerSize),
                      0.4f + 0.015f * static_cast<float>(i)});
  }
  return layers;
}

std::vector<uint8_t> MakeLayerPicture(int index) {
  std::vector<uint8_t> rgba;
  Noise noise(static_cast<uint32_t>(index) + 7);
  for (int y = 0; y < kLayerSize; ++y) {
    for (int x = 0; x < kLayerSize; ++x) {
      const float fx = static_cast<float>(x);
      const float fy = static_cast<float>(y);
      for (const float part : {fx, fy, 255 - fx}) rgba.push_back(Byte(part + noise(20)));
      rgba.push_back(Byte(500 - 3 * std::hypot(fx - 128, fy - 128)));
    }
  }
  return rgba;
}

const Pictures& PicturesOf(Size size) {
  static std::list<std::pair<Size, Pictures>> made;
  for (const auto& [itsSize, pictures] : made) {
    if (itsSize == size) return pictures;
  }
  return made.emplace_back(size, MakePictures(size)).second;
}

}  // namespace bench
