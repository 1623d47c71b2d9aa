#include "picture/renderer.h"

#include <fmt/format.h>

#include "media/colorConversion.h"
#include "media/imageFiles.h"

namespace qvgtool {
namespace {

// What a lent frame needs to give its memory back.
struct Loan {
  const QVGGLRendererInterface* gl;
  QVGPixelBuffer buffer;
};

void EndLoan(void* opaque, uint8_t*) {
  auto* loan = static_cast<Loan*>(opaque);
  QVGPixelBuffer* buffer = &loan->buffer;
  loan->gl->ReleasePixelBuffer(&buffer);
  delete loan;
}

}  // namespace

Renderer::Renderer() : gl_(QVG_GetGLRendererInterface(&LibraryConfig())), context_(gl_, gl_->GetSharedContext()) {
  if (context_ && !gl_->MakeCurrentContext(context_.get(), nullptr)) context_ = {};
}

Renderer::~Renderer() {
  context_ = {};
  QVG_ReleaseGLRendererInterface(&gl_);
}

Texture Renderer::Upload(const AVFrame& frame) const {
  QVGPixelBuffer buffer = {};
  const auto format = UploadFormat(static_cast<AVPixelFormat>(frame.format));
  if (!format) throw Error("a frame of a format that the library does not take");
  buffer.format = *format;
  buffer.width = frame.width;
  buffer.height = frame.height;
  for (int plane = 0; plane < 3; ++plane) {
    buffer.plane[plane] = frame.data[plane];
    buffer.stride[plane] = frame.linesize[plane];
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

FramePtr Renderer::ReadBack(const Texture& texture, AVPixelFormat format, bool flip) const {
  auto loan = std::make_unique<Loan>(Loan{gl_, {}});
  QVGPixelBuffer& buffer = loan->buffer;
  const bool read = format == AV_PIX_FMT_NV12   ? gl_->TextureToNV12PixelBuffer(texture.get(), &buffer, false)
                    : format == AV_PIX_FMT_RGBA ? gl_->TextureToRGBAPixelBuffer(texture.get(), &buffer, flip)
                                                : gl_->TextureToYUV420PixelBuffer(texture.get(), false, false, &buffer);
  if (!read) throw Error("a frame could not be read back");
  const size_t pixels = static_cast<size_t>(buffer.width) * static_cast<size_t>(buffer.height);
  FramePtr frame = NewFrame();
  frame->buf[0] = av_buffer_create(buffer.plane[0], format == AV_PIX_FMT_RGBA ? pixels * 4 : pixels * 3 / 2, EndLoan,
                                   loan.get(), AV_BUFFER_FLAG_READONLY);
  if (!frame->buf[0]) throw std::bad_alloc();
  frame->format = format;
  frame->width = buffer.width;
  frame->height = buffer.height;
  for (int plane = 0; plane < 3; ++plane) {
    frame->data[plane] = buffer.plane[plane];
    frame->linesize[plane] = buffer.stride[plane];
  }
  // NV12 strides are (w, w, 0): the second plane's is that of the pairs.
  loan.release();
  const bool rgb = format == AV_PIX_FMT_RGBA;
  frame->color_range = rgb ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  frame->colorspace = rgb ? AVCOL_SPC_RGB : AVCOL_SPC_SMPTE170M;
  return frame;
}

}  // namespace qvgtool
