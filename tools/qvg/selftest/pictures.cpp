#include "selftest/pictures.h"

#include <reference/readBack.h>

namespace qvgtool::selftest {

using namespace qvg::reference;

qvg::Texture Uploaded(const Frame& frame, qvg::Rows rows) {
  return qvg::Checked(qvg::Texture::FromFrame(frame.buffer, rows), "UploadPixelBufferToNewTexture");
}

qvg::Texture Uploaded(const Image& picture) { return Uploaded(MakeFrame(HeapMemory, QVG_FORMAT_RGBA, picture)); }

qvg::Texture UploadedPremultiplied(const Image& picture) {
  const qvg::Texture frame = Uploaded(picture);
  frame.SetFlipped(false);
  const qvg::Effect effect = qvg::Checked(qvg::Effect::New(), "CreateEffect");
  qvg::Checked(effect.Set("enable_color", true), "SetEffectParameter");
  return qvg::Checked(effect.Apply(frame), "ApplyEffect");
}

void Refill(const qvg::Texture& texture, const Image& picture) {
  const Frame frame = MakeFrame(HeapMemory, QVG_FORMAT_RGBA, picture);
  qvg::Checked(texture.Update(frame.buffer), "UploadPixelBufferToTexture");
}

const char* Text(Storage storage) { return storage == Storage::kRecycled ? "recycled storage" : "fresh storage"; }

void Prepare(Storage storage, int format, int width, int height) {
  const QVGGLRendererInterface& gl = qvg::Table();
  qvg::Checked(gl.ClearTexturePool() && gl.ClearRenderBufferPool() && gl.ClearPixelBufferPool(), "Clear...Pool");
  if (storage == Storage::kFresh) return;
  // An odd difference on one axis, an even one on the other: the next content's origin is off the centre.
  Uploaded(MakeFrame(HeapMemory, format, width + 27, height + 22, 77));
}

qvg::Texture UploadedAnew(const Image& picture, Storage storage) {
  Prepare(storage, QVG_FORMAT_RGBA, picture.width, picture.height);
  return Uploaded(picture);
}

qvg::FrameBuffer TargetOn(const qvg::Texture& texture, const QVGCamera& camera, bool depth) {
  QVGFrameBufferDesc description = {};
  description.width = static_cast<int32_t>(texture.Width());
  description.height = static_cast<int32_t>(texture.Height());
  description.depthStencil = depth;
  description.camera = camera;
  qvg::FrameBuffer target = qvg::Checked(qvg::FrameBuffer::New(description), "CreateFrameBufferFromDesc");
  qvg::Checked(target.Bind(texture), "BindTextureToFrameBuffer");
  return target;
}

Image Content(const qvg::Texture& texture) {
  return PixelsOf(*qvg::Checked(texture.ReadRGBA(), "TextureToRGBAPixelBuffer"));
}

}  // namespace qvgtool::selftest
