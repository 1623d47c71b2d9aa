#include "core/pixelLoops.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

namespace qvgst {
namespace {

uint32_t PixelAt(const uint8_t* row, int x) {
  uint32_t pixel;
  std::memcpy(&pixel, row + ptrdiff_t{4} * x, sizeof pixel);
  return pixel;
}

void PutPixel(uint8_t* row, int x, uint32_t pixel) { std::memcpy(row + ptrdiff_t{4} * x, &pixel, sizeof pixel); }

uint32_t AlphaMask(int alphaByte) {
  uint8_t bytes[4] = {};
  bytes[alphaByte] = 255;
  return PixelAt(bytes, 0);
}

// a * b / 255, rounded to the nearest: exact for bytes (Blinn, "Three Wrongs Make a Right", 1995).
uint8_t Product(unsigned a, unsigned b) {
  const unsigned t = a * b + 128;
  return static_cast<uint8_t>((t + (t >> 8)) >> 8);
}

}  // namespace

bool AllOpaque(ReadRows pixels, int width, int height, int alphaByte) {
  const uint32_t mask = AlphaMask(alphaByte);
  for (int y = 0; y < height; ++y) {
    const uint8_t* row = pixels.Row(y);
    uint32_t all = mask;
    for (int x = 0; x < width; ++x) all &= PixelAt(row, x);
    if ((all & mask) != mask) return false;
  }
  return true;
}

void CopyOpaque(ReadRows from, WriteRows to, int width, int height, int alphaByte) {
  const uint32_t mask = AlphaMask(alphaByte);
  for (int y = 0; y < height; ++y) {
    const uint8_t* in = from.Row(y);
    uint8_t* out = to.Row(y);
    for (int x = 0; x < width; ++x) PutPixel(out, x, PixelAt(in, x) | mask);
  }
}

void CopyPremultiplied(ReadRows from, WriteRows to, int width, int height, int alphaByte) {
  const int color = alphaByte == 0 ? 1 : 0;
  for (int y = 0; y < height; ++y) {
    const uint8_t* in = from.Row(y);
    uint8_t* out = to.Row(y);
    for (int x = 0; x < width; ++x, in += 4, out += 4) {
      const unsigned alpha = in[alphaByte];
      out[alphaByte] = static_cast<uint8_t>(alpha);
      for (int i = 0; i < 3; ++i) out[color + i] = Product(in[color + i], alpha);
    }
  }
}

void CopyStraight(ReadRows from, WriteRows to, int width, int height) {
  // 255 / alpha with 16 digits behind the point.
  static const auto reciprocals = [] {
    std::array<uint32_t, 256> table = {};
    for (uint32_t alpha = 1; alpha < 256; ++alpha) table[alpha] = (255U * 65536 + alpha / 2) / alpha;
    return table;
  }();
  constexpr int kRun = 16;
  const uint32_t mask = AlphaMask(3);
  for (int y = 0; y < height; ++y) {
    const uint8_t* in = from.Row(y);
    uint8_t* out = to.Row(y);
    for (int x = 0; x < width; x += kRun) {
      // Most of a keyed picture is there or not: only edges are divided.
      const int end = std::min(x + kRun, width);
      uint32_t all = mask;
      for (int i = x; i < end; ++i) all &= PixelAt(in, i);
      if (all == mask) {
        std::memcpy(out + ptrdiff_t{4} * x, in + ptrdiff_t{4} * x, static_cast<size_t>(end - x) * 4);
        continue;
      }
      for (int i = x; i < end; ++i) {
        const uint8_t* pixel = in + ptrdiff_t{4} * i;
        const uint32_t factor = reciprocals[pixel[3]];
        for (int part = 0; part < 3; ++part) {
          out[4 * i + part] = static_cast<uint8_t>(std::min((pixel[part] * factor + 32768) >> 16, 255U));
        }
        out[4 * i + 3] = pixel[3];
      }
    }
  }
}

void CopyWithoutAlpha(ReadRows from, WriteRows to, int width, int height) {
  for (int y = 0; y < height; ++y) {
    const uint8_t* in = from.Row(y);
    uint8_t* out = to.Row(y);
    for (int x = 0; x < width; ++x) {
      for (int i = 0; i < 3; ++i) out[3 * x + i] = in[4 * x + i];
    }
  }
}

// ---- YUV to RGBA. Sixteenths of a step of 255 hold what that needs, and 16-bit products keep vectors full: a sample
// about its zero, times 128, times a factor of kUnit, the upper half of the product, is in sixteenths.

namespace {

constexpr int kUnit = 1 << 13;

int16_t Factor(double value) {
  return static_cast<int16_t>(std::clamp(std::lround(value * kUnit), long{INT16_MIN}, long{INT16_MAX}));
}

int16_t Times(int16_t sample, int16_t factor) { return static_cast<int16_t>((int32_t{sample} * factor) >> 16); }

uint32_t Rounded(int sixteenths) { return static_cast<uint32_t>(std::clamp((sixteenths + 8) >> 4, 0, 255)); }

template <int Bytes>
int Load(const uint8_t* at) {
  if constexpr (Bytes == 1) {
    return *at;
  } else {
    uint16_t value;
    std::memcpy(&value, at, sizeof value);
    return value;
  }
}

// A sample about its zero, times 128.
template <int Bytes>
int16_t Sample(const uint8_t* at, int zero) {
  return static_cast<int16_t>(Bytes == 1 ? (Load<1>(at) - zero) * 128 : (Load<2>(at) - zero * 256) / 2);
}

// The same of chroma between two rows, three parts of the one and one of the other.
template <int Bytes>
int16_t ChromaBetween(const uint8_t* near, const uint8_t* far) {
  const int four = 3 * Load<Bytes>(near) + Load<Bytes>(far);
  return static_cast<int16_t>(Bytes == 1 ? (four - 512) * 32 : (four - 131072) >> 3);
}

/// What chroma adds to red, green and blue, for each pixel of a row.
struct Shares {
  std::vector<int16_t> red, green, blue;

  explicit Shares(size_t count) : red(count), green(count), blue(count) {}
};

struct Factors {
  int16_t luma, redOfCr, greenOfCb, greenOfCr, blueOfCb;
};

template <int Bytes, int Step>
void ShareOut(const Factors& factors, int count, const uint8_t* u, const uint8_t* uNext, const uint8_t* v,
              const uint8_t* vNext, int16_t* __restrict red, int16_t* __restrict green, int16_t* __restrict blue) {
  for (int x = 0; x < count; ++x) {
    const int16_t cb = ChromaBetween<Bytes>(u + x * Step, uNext + x * Step);
    const int16_t cr = ChromaBetween<Bytes>(v + x * Step, vNext + x * Step);
    red[x] = Times(cr, factors.redOfCr);
    green[x] = static_cast<int16_t>(Times(cb, factors.greenOfCb) + Times(cr, factors.greenOfCr));
    blue[x] = Times(cb, factors.blueOfCb);
  }
}

// A row of chroma's shares at twice its width.
void Widen(const int16_t* from, int count, bool left, int16_t* __restrict to) {
  // The neighbours of the first and the last are themselves.
  const int last = count - 1;
  if (left) {
    for (int x = 0; x < last; ++x) {
      to[2 * x] = from[x];
      to[2 * x + 1] = static_cast<int16_t>((from[x] + from[x + 1] + 1) >> 1);
    }
    to[2 * last] = to[2 * last + 1] = from[last];
    return;
  }
  const auto mix = [](int near, int far) { return static_cast<int16_t>((3 * near + far + 2) >> 2); };
  to[0] = from[0];
  for (int x = 0; x < last; ++x) {
    to[2 * x + 1] = mix(from[x], from[x + 1]);
    to[2 * x + 2] = mix(from[x + 1], from[x]);
  }
  to[2 * last + 1] = from[last];
}

template <int Bytes>
void Combine(const Factors& factors, int black, int width, const uint8_t* luma, const int16_t* red,
             const int16_t* green, const int16_t* blue, uint8_t* __restrict to) {
  for (int x = 0; x < width; ++x) {
    const int y = Times(Sample<Bytes>(luma + x * Bytes, black), factors.luma);
    const uint32_t pixel = Rounded(y + red[x]) | Rounded(y + green[x]) << 8 | Rounded(y + blue[x]) << 16 | 0xff000000U;
    std::memcpy(to + ptrdiff_t{4} * x, &pixel, sizeof pixel);
  }
}

template <int Bytes, int Step>
void Convert(const YuvMatrix& matrix, const YuvFrame& frame, WriteRows to) {
  const Factors factors = {Factor(matrix.luma), Factor(matrix.redOfCr), Factor(matrix.greenOfCb),
                           Factor(matrix.greenOfCr), Factor(matrix.blueOfCb)};
  const int count = (frame.width + frame.across - 1) / frame.across,
            rows = (frame.height + frame.down - 1) / frame.down;
  Shares narrow(static_cast<size_t>(count)), wide(static_cast<size_t>(count) * 2);
  const Shares& shares = frame.across == 2 ? wide : narrow;
  for (int y = 0; y < frame.height; ++y) {
    const int row = y / frame.down;
    const int neighbour = frame.down == 1 ? row : std::clamp(y % 2 == 0 ? row - 1 : row + 1, 0, rows - 1);
    ShareOut<Bytes, Step>(factors, count, frame.u.Row(row), frame.u.Row(neighbour), frame.v.Row(row),
                          frame.v.Row(neighbour), narrow.red.data(), narrow.green.data(), narrow.blue.data());
    if (frame.across == 2) {
      Widen(narrow.red.data(), count, frame.left, wide.red.data());
      Widen(narrow.green.data(), count, frame.left, wide.green.data());
      Widen(narrow.blue.data(), count, frame.left, wide.blue.data());
    }
    Combine<Bytes>(factors, matrix.black, frame.width, frame.luma.Row(y), shares.red.data(), shares.green.data(),
                   shares.blue.data(), to.Row(y));
  }
}

}  // namespace

YuvMatrix YuvMatrix::Of(double red, double blue, bool full) {
  const double green = 1 - red - blue, chroma = full ? 1 : 255.0 / 224;
  return {full ? 0 : 16,
          full ? 1 : 255.0 / 219,
          chroma * 2 * (1 - red),
          -chroma * 2 * blue * (1 - blue) / green,
          -chroma * 2 * red * (1 - red) / green,
          chroma * 2 * (1 - blue)};
}

void ConvertToRGBA(const YuvMatrix& matrix, const YuvFrame& frame, WriteRows to) {
  const bool pairs = frame.step == 2 * frame.bytes;
  const auto convert =
      frame.bytes == 2 ? (pairs ? &Convert<2, 4> : &Convert<2, 2>) : (pairs ? &Convert<1, 2> : &Convert<1, 1>);
  convert(matrix, frame, to);
}

}  // namespace qvgst
