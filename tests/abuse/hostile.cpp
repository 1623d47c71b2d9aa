#include "abuse/hostile.h"

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
  constexpr int64_t kMostPixels = 65536;
  constexpr int32_t kPossible = 65536;
  std::array<int32_t, 2> area = {Size(), Size()};
  if (area[0] > 0 && area[1] > 0 && area[0] <= kPossible && area[1] <= kPossible &&
      int64_t{area[0]} * area[1] > kMostPixels) {
    area[Below(2)] = 1;
  }
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
  Frame frame;
  QVGPixelBuffer& buffer = frame.buffer;
  const bool known = !random.OneIn(16);
  const Format& format = FormatOf(code);
  const int32_t other = random.Integer();
  buffer.format = known ? format.code : FormatOf(other).code != other ? other : -other;
  const std::array<int32_t, 2> area = random.Area();
  buffer.width = area[0];
  buffer.height = area[1];
  buffer.kind = random.Integer();
  frame.valid = known && area[0] >= 1 && area[1] >= 1 && area[0] <= maxSize && area[1] <= maxSize;
  const bool words = format.bytesPerChannel == 2;
  // Strides in texels, or chroma at full width.
  const bool inTexels = words && random.OneIn(3) && area[0] > 1;
  const bool wide = words && (inTexels || random.OneIn(3));
  for (int p = 0; p < format.planes; ++p) {
    const auto half = [](int64_t value, bool really) { return really ? (value + 1) / 2 : value; };
    const int64_t columns = half(frame.valid ? area[0] : 1, p > 0 && format.halfWidth && !wide);
    const int64_t rows = half(frame.valid ? area[1] : 1, p > 0 && format.halfHeight);
    const int64_t texelBytes = format.channels[p] * format.bytesPerChannel;
    const int64_t unit = inTexels ? texelBytes : 1;
    const int64_t least = columns * texelBytes / unit;
    int64_t stride = least + (random.OneIn(3) ? random.Below(9) : 0);
    if (inTexels && p == 0 && stride >= 2 * least) stride = least;
    if (words && wide && !inTexels && p == 1 && stride < 2 * int64_t{buffer.stride[0]})
      stride = 2 * int64_t{buffer.stride[0]};
    if (words && !wide && p == 1 && stride >= 2 * int64_t{buffer.stride[0]}) stride = 2 * int64_t{buffer.stride[0]} - 1;
    if (stride < least) frame.valid = false;
    if (random.OneIn(24)) {
      // A luma stride that is too short counts texels, and a chroma stride may mean the other width.
      stride = words || random.OneIn(2) ? -std::abs(int64_t{random.Integer()}) : least - 1 - random.Below(4);
      frame.valid = false;
    }
    const int64_t bytes = stride * unit * (rows - 1) + columns * texelBytes;
    const bool missing = frame.valid && (bytes > static_cast<int64_t>(kMostBytes) || random.OneIn(48));
    frame.valid = frame.valid && !missing;
    buffer.stride[p] = static_cast<int32_t>(stride);
    const GuardedBlock& block = blocks_[static_cast<size_t>(p)];
    const int64_t there = frame.valid ? bytes : 1;
    buffer.plane[p] = missing ? nullptr : block.data() + kMostBytes - there;
    if (missing) break;
  }
  if (frame.valid) blocks_[0].data()[kMostBytes - 1 - random.Below(64)] = static_cast<uint8_t>(random.Next());
  return frame;
}

}  // namespace qvg::test
