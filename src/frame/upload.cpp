#include "frame/upload.h"

#include <cstring>
#include <optional>

#include "base/glError.h"
#include "base/limits.h"
#include "drawer/rgbMattDrawer.h"
#include "drawer/yuv2rgbDrawer.h"
#include "frame/draw.h"
#include "frame/pixelFormat.h"
#include "pool/scratchBufferPool.h"
#include "pool/textureLease.h"
#include "utils/log.h"
#include "utils/slotCall.h"

namespace qvg {

namespace {

std::optional<FrameView> View(const QVGPixelBuffer* source) {
  if (!Expect(source != nullptr, "source", "something other than null")) return std::nullopt;
  return ViewFrame(*source, Limits::MaxTextureSize());
}

// The operation that loads a plane ends with an error check.
void SubmitPlane(const FrameServices& services, Texture& texture, const PlaneView& plane, Texture::Place place) {
  const PlaneFormat& format = plane.format;
  HostPixels image = {plane.width, plane.height, plane.pixels, format.format, format.type};
  if (plane.stride % format.bytesPerTexel == 0) {
    // Never reads beyond the last texel of the last row, which may lack padding.
    image.rowLength = static_cast<int>(plane.stride / format.bytesPerTexel);
    return texture.SubmitLoad(image, place);
  }
  const auto rowBytes = static_cast<size_t>(plane.RowBytes());
  const auto packed = services.scratchBuffers.Lend(rowBytes * static_cast<size_t>(plane.height));
  for (int row = 0; row < plane.height; ++row) {
    std::memcpy(packed.Data() + rowBytes * static_cast<size_t>(row), plane.pixels + plane.stride * row, rowBytes);
  }
  image.pixels = packed.Data();
  texture.SubmitLoad(image, place);
}

bool DrawYUVToTexture(const FrameServices& services, Texture& destination, const FrameView& frame) {
  destination.CentreContent(destination.Content().width, destination.Content().height);
  TextureLease textures[3];
  YUV2RGBDrawer::Parameters parameters;
  parameters.format = frame.format->yuvFormat;
  for (int i = 0; i < frame.format->planeCount; ++i) {
    const PlaneView& plane = frame.planes[static_cast<size_t>(i)];
    textures[i] = TextureLease(services.textures, plane.width, plane.height, plane.format.internalFormat);
    if (!textures[i]) return false;
    SubmitPlane(services, *textures[i], plane, Texture::Place::kOrigin);
    parameters.planes[i] = textures[i].Get();
  }
  const Scene scene = Scene::On(destination);
  return YUV2RGBDrawer(services.programs).Draw(&scene, parameters);
}

bool UploadMatted(const FrameServices& services, Texture& destination, const FrameView& frame, bool flipped,
                  const QVGColor& matte) {
  const PlaneView& pixels = frame.planes[0];
  const TextureLease temporary(services.textures, frame.width, frame.height, pixels.format.internalFormat);
  if (!temporary) {
    LogShort(kLogError, "QVG_UploadPixelBufferToTexture: shouldMattRGB, but fetch temp texture from pool failed.");
    return false;
  }
  SubmitPlane(services, *temporary, pixels, Texture::Place::kCentre);
  if (!temporary->RemapRGBA(frame.format->swizzle) || !destination.RemapRGBA(kSwizzleRGBA)) return false;
  destination.CentreContent(frame.width, frame.height);
  const Scene scene = Scene::On(destination);
  return RGBMattDrawer(services.programs)
      .Draw(&scene, {temporary.Get(), flipped, glm::vec4(matte.r, matte.g, matte.b, matte.a)});
}

bool UploadRGB(const FrameServices& services, Texture& destination, const FrameView& frame, bool flipped,
               bool shouldMattRGB, const QVGColor& matte) {
  const PlaneView& pixels = frame.planes[0];
  const TextureSetting& storage = destination.Setting();
  if (!Expect(storage.width >= frame.width && storage.height >= frame.height, "destination",
              "storage of at least the frame's size") ||
      !Expect(destination.Format() == pixels.format.internalFormat, "destination",
              "a texture of the kind that slot 21 makes for the format")) {
    return false;
  }
  const bool matted = shouldMattRGB && frame.format->mattable;
  if (matted) {
    if (!UploadMatted(services, destination, frame, flipped, matte)) return false;
  } else {
    const ContentRect before = destination.Content();
    Swizzle swizzle = frame.format->swizzle;
    // Storage that had to be replaced by another format has a fourth byte without a meaning.
    if (storage.internalFormat != pixels.format.internalFormat && pixels.format.bytesPerTexel == 4) swizzle[3] = GL_ONE;
    SubmitPlane(services, destination, pixels, Texture::Place::kCentre);
    if (!CheckGLError() || !destination.RemapRGBA(swizzle)) {
      destination.SetContentOrigin(before.x, before.y);
      destination.SetContentSize(before.width, before.height);
      return false;
    }
  }
  destination.presentation.flipped = matted || !flipped;
  return true;
}

bool UploadFrame(const FrameServices& services, Texture& destination, const FrameView& frame, bool flipped,
                 bool shouldMattRGB, const QVGColor& matte) {
  if (frame.format->IsYUV()) {
    if (!MakeRenderable(services, destination) || !destination.RemapRGBA(kSwizzleRGBA) ||
        !DrawYUVToTexture(services, destination, frame)) {
      return false;
    }
    destination.presentation.flipped = !flipped;
  } else if (!UploadRGB(services, destination, frame, flipped, shouldMattRGB, matte)) {
    return false;
  }
  destination.presentation.alpha = AlphaForm::kStraight;
  return true;
}

}  // namespace

bool UploadPixelBufferToTexture(const FrameServices& services, Texture* destination, const QVGPixelBuffer* source,
                                bool flipped, bool shouldMattRGB, const QVGColor& matte) {
  if (destination == nullptr) return false;
  const std::optional<FrameView> frame = View(source);
  return frame.has_value() && UploadFrame(services, *destination, *frame, flipped, shouldMattRGB, matte);
}

Texture* UploadPixelBufferToNewTexture(const FrameServices& services, const QVGPixelBuffer* source, bool flipped,
                                       bool shouldMattRGB, const QVGColor& matte) {
  const std::optional<FrameView> frame = View(source);
  if (!frame.has_value()) return nullptr;
  const GLenum internalFormat = frame->format->IsYUV() ? GLenum{GL_RGBA8} : frame->planes[0].format.internalFormat;
  TextureLease texture(services.textures, frame->width, frame->height, internalFormat);
  if (!texture || !UploadFrame(services, *texture, *frame, flipped, shouldMattRGB, matte)) return nullptr;
  return texture.Take();
}

}  // namespace qvg
