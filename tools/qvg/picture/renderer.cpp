#include "picture/renderer.h"

#include <fmt/format.h>

#include <algorithm>

#include "media/imageFiles.h"

namespace qvgtool {

Renderer::Renderer() : library_(LibraryConfig()), context_(qvg::Context::New()), current_(context_) {}

Texture Renderer::Upload(const Frame& frame) const {
  const auto format = UploadFormat(frame.format);
  if (!format) throw Error("a frame of a format that the library does not take");
  qvg::PixelBuffer buffer;
  buffer.format = *format;
  buffer.width = frame.width;
  buffer.height = frame.height;
  for (int plane = 0; plane < 3; ++plane) {
    buffer.plane[plane] = frame.data[plane];
    buffer.stride[plane] = frame.stride[plane];
  }
  Texture texture = Texture::FromFrame(buffer);
  if (!texture) throw Error(fmt::format("a frame of {} x {} could not be uploaded", frame.width, frame.height));
  return texture;
}

Texture Renderer::NewTarget(int width, int height) const {
  Texture texture = Texture::Acquire(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
  if (!texture) throw Error(fmt::format("the driver gives no texture of {} x {}", width, height));
  texture.SetFlipped(true);
  return texture;
}

FrameBuffer Renderer::NewFrameBuffer(const Texture& target) const {
  FrameBuffer frameBuffer = FrameBuffer::On(target);
  if (!frameBuffer) throw Error("the driver gives no frame buffer");
  return frameBuffer;
}

FramePtr Renderer::ReadBack(const Texture& texture, PixelFormat format, bool flip) const {
  const auto read = std::make_shared<qvg::ReadBack>(format == PixelFormat::kNV12   ? texture.ReadNV12()
                                                    : format == PixelFormat::kRGBA ? texture.ReadRGBA(flip)
                                                                                   : texture.ReadYUV420());
  if (!*read) throw Error("a frame could not be read back");
  const QVGPixelBuffer& buffer = **read;
  auto frame = std::make_unique<Frame>();
  frame->format = format;
  frame->width = buffer.width;
  frame->height = buffer.height;
  // NV12 strides are (w, w, 0): the second plane's is that of the pairs.
  std::copy_n(buffer.plane, 3, frame->data.begin());
  std::copy_n(buffer.stride, 3, frame->stride.begin());
  const bool rgb = format == PixelFormat::kRGBA;
  frame->alpha = rgb;
  frame->colors = rgb ? kRgbColors : ColorTags{.matrix = kMatrix601};
  frame->chromaLeft = format == PixelFormat::kNV12;
  frame->memory = read;
  return frame;
}

}  // namespace qvgtool
