#include "abuse/hostile.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>

#include "support/frames.h"

namespace qvg::test {

uint32_t Hostile::Next() {
  state_ ^= state_ >> 12;
  state_ ^= state_ << 25;
  state_ ^= state_ >> 27;
  return static_cast<uint32_t>((state_ * 0x2545F4914F6CDD1Du) >> 32);
}

int32_t Hostile::Integer() {
  static constexpr int32_t kEdges[] = {
      0,     1,     2,     3,     -1,      -2,      255,       256,       4096,      8192,          16383,     16384,
      16385, 32768, 65535, 65536, 1 << 24, 1 << 30, INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN + 1, -(1 << 30)};
  switch (Below(4)) {
    case 0:
      return static_cast<int32_t>(Next());
    case 1:
      return Below(64) - 16;
    default:
      return static_cast<int32_t>(static_cast<uint32_t>(Pick(kEdges)) - static_cast<uint32_t>(Below(3)));
  }
}

std::array<int32_t, 2> Hostile::Area() {
  constexpr int32_t kMost = 65536;  // also of pixels
  std::array<int32_t, 2> area = {Size(), Size()};
  const bool possible = std::ranges::all_of(area, [](int32_t side) { return side > 0 && side <= kMost; });
  if (possible && int64_t{area[0]} * area[1] > kMost) area[Below(2)] = 1;
  return area;
}

double Hostile::Real() {
  static constexpr double kInfinity = std::numeric_limits<double>::infinity();
  static constexpr double kEdges[] = {0,          -0.0,    1,       -1,           0.5,  2,   90,  1e-30,    kInfinity,
                                      -kInfinity, FLT_MAX, DBL_MAX, DBL_MIN,      -1e9, 1e9, 4e9, -DBL_MAX, 1e38,
                                      -1e38,      16384,   1e20,    DBL_TRUE_MIN, 1e-9, 360};
  if (OneIn(8)) return std::numeric_limits<double>::quiet_NaN();
  return OneIn(3) ? (Below(2001) - 1000) / 37.0 : Pick(kEdges);
}

HostileFrames::Frame HostileFrames::Make(Hostile& random, int code, int maxSize) {
  const Format& format = FormatOf(code);
  const auto [width, height] = random.Area();
  const bool possible = width >= 1 && height >= 1 && width <= maxSize && height <= maxSize;
  const Layout layout = random.Pick(Layouts(code, possible ? width : 8, possible ? height : 8));
  Frame frame = {{{}, {}, width, height, random.Integer(), 0, code}, possible};
  QVGPixelBuffer& buffer = frame.buffer;
  if (random.OneIn(16)) {
    const int32_t other = random.Integer();
    buffer.format = FormatOf(other).code != other ? other : -other;
    frame.valid = false;
  }
  int64_t bytes[3] = {};
  bool missing[3] = {};
  for (int p = 0; p < format.planes; ++p) {
    const auto half = [p](int64_t value, bool really) { return really && p > 0 ? (value + 1) / 2 : value; };
    const int64_t rows = half(layout.height, format.halfHeight);
    const int64_t rowBytes = half(layout.width, layout.halfWidthChroma) * format.channels[p] * format.bytesPerChannel;
    bytes[p] = int64_t{layout.stride[p]} * layout.strideUnit[p] * (rows - 1) + rowBytes;
    missing[p] = bytes[p] > kMostBytes || random.OneIn(48);
    buffer.stride[p] = layout.stride[p];
    const bool tooShort = random.OneIn(24);
    // With 16-bit samples a luma stride counts texels, and a chroma stride may mean the other width.
    const int64_t least = format.bytesPerChannel == 2 ? 1 : rowBytes;
    if (tooShort) buffer.stride[p] = random.OneIn(2) ? random.Integer() | INT32_MIN : static_cast<int32_t>(least) - 1;
    frame.valid = frame.valid && !missing[p] && !tooShort;
  }
  for (size_t p = 0; p < 3; ++p) {
    // Frames that are to be refused have a byte of each plane.
    const int64_t there = frame.valid ? bytes[p] : 1;
    buffer.plane[p] = bytes[p] == 0 || missing[p] ? nullptr : blocks_[p].data() + kMostBytes - there;
  }
  if (frame.valid) blocks_[0].data()[kMostBytes - 1 - random.Below(64)] = static_cast<uint8_t>(random.Next());
  return frame;
}

}  // namespace qvg::test
