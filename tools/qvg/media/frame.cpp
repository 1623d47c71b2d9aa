#include "media/frame.h"

#include <new>

namespace qvgtool {
namespace {

constexpr std::align_val_t kAlignment{64};

constexpr struct {
  PixelFormat format;
  QVGPixelFormat upload;
} kUploadFormats[] = {
    {PixelFormat::kNV12, QVG_FORMAT_NV12},     {PixelFormat::kP010, QVG_FORMAT_YUV16_SP},
    {PixelFormat::kP016, QVG_FORMAT_YUV16_SP}, {PixelFormat::kI420, QVG_FORMAT_I420},
    {PixelFormat::kI422, QVG_FORMAT_I422},     {PixelFormat::kI444, QVG_FORMAT_I444},
    {PixelFormat::kJ420, QVG_FORMAT_J420},     {PixelFormat::kJ422, QVG_FORMAT_J422},
    {PixelFormat::kJ444, QVG_FORMAT_J444},     {PixelFormat::kRGBA, QVG_FORMAT_RGBA},
    {PixelFormat::kARGB, QVG_FORMAT_ARGB},     {PixelFormat::kBGRA, QVG_FORMAT_BGRA},
    {PixelFormat::kABGR, QVG_FORMAT_ABGR},     {PixelFormat::kRGB, QVG_FORMAT_RGB},
    {PixelFormat::kBGR, QVG_FORMAT_BGR},
};

}  // namespace

std::optional<QVGPixelFormat> UploadFormat(PixelFormat format) {
  for (const auto& row : kUploadFormats) {
    if (row.format == format) return row.upload;
  }
  return std::nullopt;
}

FramePtr NewPackedFrame(PixelFormat format, int width, int height) {
  const bool opaque = format == PixelFormat::kRGB || format == PixelFormat::kBGR;
  auto frame = std::make_unique<Frame>();
  frame->format = format;
  frame->width = width;
  frame->height = height;
  frame->stride[0] = (width * (opaque ? 3 : 4) + 63) / 64 * 64;
  frame->alpha = !opaque;
  frame->colors = kRgbColors;
  // Converters access a little more than the last row.
  const size_t size = static_cast<size_t>(frame->stride[0]) * static_cast<size_t>(height) + 64;
  frame->memory.reset(::operator new(size, kAlignment), [](void* memory) { ::operator delete(memory, kAlignment); });
  frame->data[0] = static_cast<uint8_t*>(frame->memory.get());
  return frame;
}

FramePtr Premultiplied(const Frame& straight) {
  FramePtr result = NewPackedFrame(PixelFormat::kRGBA, straight.width, straight.height);
  for (int y = 0; y < straight.height; ++y) {
    const uint8_t* in = Row(straight, y);
    uint8_t* out = Row(*result, y);
    for (int x = 0; x < straight.width; ++x, in += 4, out += 4) {
      for (int i = 0; i < 3; ++i) out[i] = static_cast<uint8_t>((in[i] * in[3] + 127) / 255);
      out[3] = in[3];
    }
  }
  result->pts = straight.pts;
  return result;
}

}  // namespace qvgtool
