#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "base/texture.h"
#include "drawer/yuv2rgbDrawer.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg {

/// How one plane of a frame lies in memory and becomes a texture.
struct PlaneFormat {
  int divideX;  ///< Of the frame's width; sizes round up.
  int divideY;
  int bytesPerTexel;
  GLenum internalFormat;
  GLenum format;
  GLenum type;
};

/// One row of the table of layouts that the host may hand in or read back.
struct PixelFormat {
  int32_t code;
  int32_t yuvFormat;  ///< A YUV2RGBDrawer::Format; 0 for packed RGB.
  bool fullRange;
  int planeCount;
  PlaneFormat planes[3];
  Swizzle swizzle;
  bool mattable;  ///< RGB with an alpha byte: a key colour can be made transparent on upload.

  constexpr bool IsYUV() const { return yuvFormat != 0; }
};

namespace pixel_format_detail {

inline constexpr PlaneFormat Byte(int divideX, int divideY) {
  return {divideX, divideY, 1, GL_R8, GL_RED, GL_UNSIGNED_BYTE};
}
inline constexpr PlaneFormat Packed(int bytes, GLenum internalFormat, GLenum format) {
  return {1, 1, bytes, internalFormat, format, GL_UNSIGNED_BYTE};
}
inline constexpr PixelFormat Planar(int32_t code, int divideX, int divideY, bool fullRange) {
  return {code,
          YUV2RGBDrawer::kPlanar8,
          fullRange,
          3,
          {Byte(1, 1), Byte(divideX, divideY), Byte(divideX, divideY)},
          kSwizzleRGBA,
          false};
}
inline constexpr PixelFormat Rgb(int32_t code, PlaneFormat plane, Swizzle swizzle, bool mattable) {
  return {code, 0, true, 1, {plane, {}, {}}, swizzle, mattable};
}

}  // namespace pixel_format_detail

/// Pixels of the formats ARGB and ABGR are stored as they come and read through the texture's swizzle.
inline constexpr Swizzle kSwizzleBGRA = {GL_BLUE, GL_GREEN, GL_RED, GL_ALPHA};
inline constexpr Swizzle kSwizzleABGR = {GL_ALPHA, GL_BLUE, GL_GREEN, GL_RED};
inline constexpr Swizzle kSwizzleARGB = {GL_GREEN, GL_BLUE, GL_ALPHA, GL_RED};

inline constexpr PixelFormat kPixelFormats[] = {
    {QVG_FORMAT_NV12,
     YUV2RGBDrawer::kNV12,
     false,
     2,
     {pixel_format_detail::Byte(1, 1), {2, 2, 2, GL_RG8, GL_RG, GL_UNSIGNED_BYTE}, {}},
     kSwizzleRGBA,
     false},
    // The chroma's width is the frame's or half of it, as the strides tell.
    {QVG_FORMAT_YUV16_SP,
     YUV2RGBDrawer::kTwoPlane16,
     false,
     2,
     {{1, 1, 2, GL_R16UI, GL_RED_INTEGER, GL_UNSIGNED_SHORT},
      {1, 2, 4, GL_RG16UI, GL_RG_INTEGER, GL_UNSIGNED_SHORT},
      {}},
     kSwizzleRGBA,
     false},
    pixel_format_detail::Planar(QVG_FORMAT_I444, 1, 1, false),
    pixel_format_detail::Planar(QVG_FORMAT_J444, 1, 1, true),
    pixel_format_detail::Planar(QVG_FORMAT_I420, 2, 2, false),
    pixel_format_detail::Planar(QVG_FORMAT_J420, 2, 2, true),
    pixel_format_detail::Planar(QVG_FORMAT_I422, 2, 1, false),
    pixel_format_detail::Planar(QVG_FORMAT_J422, 2, 1, true),
    pixel_format_detail::Rgb(QVG_FORMAT_RGBA, pixel_format_detail::Packed(4, GL_RGBA8, GL_RGBA), kSwizzleRGBA, true),
    pixel_format_detail::Rgb(QVG_FORMAT_ARGB, pixel_format_detail::Packed(4, GL_RGBA8, GL_RGBA), kSwizzleARGB, true),
    pixel_format_detail::Rgb(QVG_FORMAT_RGB, pixel_format_detail::Packed(3, GL_RGB8, GL_RGB), kSwizzleRGBA, false),
    pixel_format_detail::Rgb(QVG_FORMAT_BGRA, pixel_format_detail::Packed(4, GL_RGBA8, GL_BGRA), kSwizzleRGBA, true),
    pixel_format_detail::Rgb(QVG_FORMAT_ABGR, pixel_format_detail::Packed(4, GL_RGBA8, GL_RGBA), kSwizzleABGR, true),
    pixel_format_detail::Rgb(QVG_FORMAT_BGR, pixel_format_detail::Packed(3, GL_RGB8, GL_BGR), kSwizzleRGBA, false),
    // Handed over as GL_RGBA: with GL_RGB the driver would take three bytes a pixel and shear the rows.
    pixel_format_detail::Rgb(QVG_FORMAT_RGBX332, pixel_format_detail::Packed(4, GL_R3_G3_B2, GL_RGBA), kSwizzleRGBA,
                             false),
};

/// Null for an unknown code.
constexpr const PixelFormat* FindPixelFormat(int32_t code) {
  for (const PixelFormat& format : kPixelFormats) {
    if (format.code == code) return &format;
  }
  return nullptr;
}

/// One plane of a frame in memory, checked.
struct PlaneView {
  const uint8_t* pixels = nullptr;
  int width = 0;  ///< Texels.
  int height = 0;
  int64_t stride = 0;  ///< Bytes.
  PlaneFormat format = {};

  int64_t RowBytes() const { return int64_t{width} * format.bytesPerTexel; }
};

/// A frame in memory, checked.
struct FrameView {
  const PixelFormat* format = nullptr;
  int width = 0;
  int height = 0;
  std::array<PlaneView, 3> planes;
};

/// The planes of a host's frame; nothing when its format is unknown, a plane is missing, a size is below 1 or above
/// maxSize, or a row is shorter than its texels.
std::optional<FrameView> ViewFrame(const QVGPixelBuffer& frame, int maxSize);

}  // namespace qvg
