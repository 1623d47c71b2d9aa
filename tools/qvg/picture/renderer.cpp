#include "picture/renderer.h"

#include <fmt/format.h>

#include <algorithm>

#include "media/imageFiles.h"

namespace qvgtool {
namespace {

// What a lent frame needs to give its memory back.
struct Loan {
  const QVGGLRendererInterface* gl;
  QVGPixelBuffer buffer = {};
  ~Loan() {
    QVGPixelBuffer* lent = &buffer;
    if (buffer.plane[0]) gl->ReleasePixelBuffer(&lent);
  }
};

}  // namespace

Renderer::Renderer() : gl_(QVG_GetGLRendererInterface(&LibraryConfig())), context_(gl_, gl_->GetSharedContext()) {
  if (context_ && !gl_->MakeCurrentContext(context_.get(), nullptr)) context_ = {};
}

Renderer::~Renderer() {
  context_ = {};
  QVG_ReleaseGLRendererInterface(&gl_);
}

Texture Renderer::Upload(const Frame& frame) const {
  QVGPixelBuffer buffer = {};
  const auto format = UploadFormat(frame.format);
  if (!format) throw Error("a frame of a format that the library does not take");
  buffer.format = *format;
  buffer.width = frame.width;
  buffer.height = frame.height;
  for (int plane = 0; plane < 3; ++plane) {
    buffer.plane[plane] = frame.data[plane];
    buffer.stride[plane] = frame.stride[plane];
  }
  Texture texture(gl_, gl_->UploadPixelBufferToNewTexture(&buffer, false, false, {}));
  if (!texture) throw Error(fmt::format("a frame of {} x {} could not be uploaded", frame.width, frame.height));
  return texture;
}

Texture Renderer::NewTarget(int width, int height) const {
  Texture texture(gl_, gl_->AcquireTexture(static_cast<uint32_t>(width), static_cast<uint32_t>(height)));
  if (!texture) throw Error(fmt::format("the driver gives no texture of {} x {}", width, height));
  gl_->SetTextureFlipped(texture.get(), true);
  return texture;
}

FrameBuffer Renderer::NewFrameBuffer(const Texture& target) const {
  FrameBuffer frameBuffer(gl_, gl_->CreateFrameBuffer(gl_->GetTextureWidth(target.get()),
                                                      gl_->GetTextureHeight(target.get()), false, false));
  if (!frameBuffer || !gl_->BindTextureToFrameBuffer(frameBuffer.get(), target.get())) {
    throw Error("the driver gives no frame buffer");
  }
  return frameBuffer;
}

FramePtr Renderer::ReadBack(const Texture& texture, PixelFormat format, bool flip) const {
  const auto loan = std::make_shared<Loan>(gl_);
  QVGPixelBuffer& buffer = loan->buffer;
  const bool read = format == PixelFormat::kNV12 ? gl_->TextureToNV12PixelBuffer(texture.get(), &buffer, false)
                    : format == PixelFormat::kRGBA
                        ? gl_->TextureToRGBAPixelBuffer(texture.get(), &buffer, flip)
                        : gl_->TextureToYUV420PixelBuffer(texture.get(), false, false, &buffer);
  if (!read) throw Error("a frame could not be read back");
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
  frame->memory = loan;
  return frame;
}

}  // namespace qvgtool
