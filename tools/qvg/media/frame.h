// A picture in memory.
#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

namespace qvgtool {

/** The layout of pixels in memory. */
enum class PixelFormat : int {
  kNone,
  kNV12,
  kP010,  // As NV12, with 10 bits in the upper bits of 16.
  kP016,
  kI420,
  kI422,
  kI444,
  kJ420,  // These three imply full range.
  kJ422,
  kJ444,
  kRGBA,
  kARGB,
  kBGRA,
  kABGR,
  kRGB,
  kBGR,
  kOther  // From here on the backend's own formats: only it may look into the memory.
};

/** The library's code for this format; none when it doesn't take it. */
std::optional<QVGPixelFormat> UploadFormat(PixelFormat format);

/** Numbers of ITU-T H.273. */
enum Matrix { kMatrix709 = 1, kMatrixUnknown = 2, kMatrix601Of625Lines = 5, kMatrix601 = 6, kMatrix2020 = 9 };
inline constexpr int kUnknownColors = 2;

struct ColorTags {
  bool rgb = false;
  bool fullRange = false;
  int matrix = kMatrixUnknown;  // Of YUV.
  bool operator==(const ColorTags&) const = default;
  bool IsFullRange601() const { return rgb || (fullRange && (matrix == kMatrix601 || matrix == kMatrix601Of625Lines)); }
};
inline constexpr ColorTags kRgbColors = {.rgb = true, .fullRange = true};

/** Untagged YUV is BT.601 up to 576 lines and BT.709 above. */
inline constexpr int GuessedMatrix(int height) { return height <= 576 ? kMatrix601 : kMatrix709; }

/** Copies share the memory. */
struct Frame {
  PixelFormat format = PixelFormat::kNone;
  int width = 0, height = 0;
  std::array<uint8_t*, 4> data{};
  std::array<int, 4> stride{};  // Bytes.
  int64_t pts = 0;              // In the time unit of the source.
  bool alpha = false;           // Some pixels may be transparent.
  ColorTags colors;             // Guessed where untagged.
  bool chromaLeft = false;      // Half-width chroma is sited at the left of its two pixels, not midway.
  int primaries = kUnknownColors, transfer = kUnknownColors;  // As in ITU-T H.273.
  std::shared_ptr<void> memory;                               // Shared by all copies.
};
using FramePtr = std::unique_ptr<Frame>;  // null: no frame.

inline FramePtr SharedCopy(const Frame& frame) { return std::make_unique<Frame>(frame); }

/** A frame of one plane, such as RGBA, with memory of its own. */
FramePtr NewPackedFrame(PixelFormat format, int width, int height);

inline uint8_t* Row(const Frame& frame, int y, size_t plane = 0) {
  return frame.data[plane] + static_cast<ptrdiff_t>(y) * frame.stride[plane];
}

/** A copy of an RGBA frame with premultiplied alpha, as the library's effects take it; images have straight alpha. */
FramePtr Premultiplied(const Frame& straight);

}  // namespace qvgtool
