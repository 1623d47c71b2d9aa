#include "frame/draw.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "base/glError.h"
#include "base/limits.h"
#include "base/surfaceSource.h"
#include "drawer/textureDrawer.h"
#include "pool/textureLease.h"
#include "utils/slotCall.h"

namespace qvg {

namespace {

bool IsRenderable(const Texture& texture) { return Limits::IsRenderable(texture.Setting().internalFormat); }

// For a copy of the content; empty when the host has set the content beyond the storage.
TextureLease Lease(const FrameServices& services, const Texture& like, GLenum internalFormat) {
  if (!like.Content().IsInside()) return {};
  return TextureLease(services.textures, like.Content().width, like.Content().height, internalFormat);
}

// A copy of the content that looks the same; its channels are stored as the source's where that is possible.
TextureLease Copy(const FrameServices& services, const Texture& source) {
  const ContentRect& content = source.Content();
  const bool asStored = IsRenderable(source);
  TextureLease copy = Lease(services, source, asStored ? source.Setting().internalFormat : GLenum{GL_RGBA8});
  const bool copied =
      copy && (asStored ? copy->SubmitCopyFrom(&source, content.x, content.y, content.width, content.height) &&
                              copy->RemapRGBA(source.CurrentSwizzle())
                        : DrawWhole(services, source, *copy, {.asStored = true}));
  if (!copied) return {};
  copy->presentation = source.presentation;
  return copy;
}

bool CanBeTarget(const Texture& texture) {
  return texture.CurrentSwizzle() == kSwizzleRGBA && texture.presentation.alpha == AlphaForm::kStraight &&
         IsRenderable(texture);
}

// Gives the texture the storage and contents of another one, which can be drawn to.
void TakeStorage(Texture& texture, Texture& drawable) {
  const ContentRect content = texture.Content();
  texture.presentation.madeFor = texture.Format();
  texture.ExchangeStorage(drawable);
  texture.CentreContent(content.width, content.height);
}

// What is drawn is stored as straight R, G, B, A: converts what is there into that form, too, unless it already has it.
bool StoreForDrawing(const FrameServices& services, Texture& texture) {
  if (CanBeTarget(texture)) return true;
  const TextureLease look = Lease(services, texture, GL_RGBA8);
  if (!look || !DrawWhole(services, texture, *look, {})) return false;
  if (!IsRenderable(texture)) {
    TakeStorage(texture, *look);
  } else if (!texture.RemapRGBA(kSwizzleRGBA) || !CopyContent(RenderTarget::On(*look), texture)) {
    return false;
  }
  texture.presentation.alpha = AlphaForm::kStraight;
  return true;
}

// The same for what a frame buffer draws to.
bool StoreBoundForDrawing(const FrameServices& services, FrameBuffer& frameBuffer) {
  Texture* const texture = frameBuffer.ColorTexture();
  if (texture == nullptr) return true;
  const uint64_t storage = texture->Storage();
  return StoreForDrawing(services, *texture) &&
         (texture->Storage() == storage || frameBuffer.BindColorTexture(texture));
}

std::array<float, 4> ColorOf(const double rgba[4]) {
  return {ColorComponent(rgba[0]), ColorComponent(rgba[1]), ColorComponent(rgba[2]), ColorComponent(rgba[3])};
}

TextureDrawer::Parameters ParametersOf(const QVGDrawTextureParams& params) {
  const auto vec3 = [](const double(&v)[3]) { return glm::vec3(v[0], v[1], v[2]); };
  return {.matteTexture = reinterpret_cast<const Texture*>(params.matteTexture),
          .blendType = params.blendType,
          .matteType = params.matteType,
          .simpleMatte = params.simpleMatte,
          .simpleMatteSize = {params.simpleMatteSize[0], params.simpleMatteSize[1]},
          .depthTest = params.depthTest,
          .opacity = static_cast<float>(params.opacity),
          .anchor = vec3(params.anchor),
          .model = {vec3(params.translation), vec3(params.scale), vec3(params.rotation)},
          .useSizeFactor = params.useSizeFactor,
          .sizeFactor = {params.sizeFactor[0], params.sizeFactor[1]}};
}

}  // namespace

bool MakeRenderable(const FrameServices& services, Texture& texture) {
  if (IsRenderable(texture)) return true;
  const TextureLease drawable = Lease(services, texture, GL_RGBA8);
  if (drawable) TakeStorage(texture, *drawable);
  return static_cast<bool>(drawable);
}

bool DrawWhole(const FrameServices& services, const Texture& source, const Texture& destination, const WholeDraw& how) {
  const Scene scene = Scene::On(destination);
  TextureDrawer::Parameters parameters;
  parameters.mainTexture = &source;
  parameters.model.scale.y = how.flip ? -1.0f : 1.0f;
  parameters.applyRotation = false;
  parameters.asStored = how.asStored;
  return TextureDrawer(services.programs, services.surfaces).Draw(&scene, parameters);
}

Texture* CloneTexture(const FrameServices& services, Texture* source) {
  if (source == nullptr) return nullptr;
  const ContentRect& content = source->Content();
  TextureLease copy = Lease(services, *source, GL_RGBA8);
  if (!copy) return nullptr;
  if (IsRenderable(*source)) {
    if (!copy->CopyFrom(source, content.x, content.y, content.width, content.height) ||
        !copy->RemapRGBA(source->CurrentSwizzle())) {
      return nullptr;
    }
  } else {
    if (!DrawWhole(services, *source, *copy, {.asStored = true})) return nullptr;
    glFinish();
    if (!CheckGLError()) return nullptr;
  }
  copy->presentation = source->presentation;
  copy->presentation.madeFor = 0;
  return copy.Take();
}

float ColorComponent(double value) {
  constexpr double kLargest = std::numeric_limits<float>::max();
  return std::isnan(value) ? 0 : static_cast<float>(std::clamp(value, -kLargest, kLargest));
}

bool ClearTexture(const FrameServices& services, Texture* texture, const double rgba[4]) {
  if (texture == nullptr || rgba == nullptr) return false;
  if (!MakeRenderable(services, *texture) || !texture->RemapRGBA(kSwizzleRGBA)) return false;
  const RenderTarget target = RenderTarget::On(*texture);
  if (target.frameBuffer == 0 || !ClearTarget(target, ColorOf(rgba).data(), false)) return false;
  glBindFramebuffer(GL_FRAMEBUFFER, 0);
  texture->presentation.alpha = AlphaForm::kStraight;
  return true;
}

bool BindTextureToFrameBuffer(const FrameServices& services, FrameBuffer* frameBuffer, Texture* texture) {
  if (frameBuffer == nullptr || texture == nullptr) return false;
  return StoreForDrawing(services, *texture) && frameBuffer->BindColorTexture(texture);
}

bool ClearFrameBuffer(const FrameServices& services, FrameBuffer* frameBuffer, const double rgba[4]) {
  if (frameBuffer == nullptr || rgba == nullptr) return false;
  Texture* texture = frameBuffer->ColorTexture();
  // All of it becomes one colour: there is nothing to convert.
  if (texture != nullptr && IsRenderable(*texture)) {
    if (!texture->RemapRGBA(kSwizzleRGBA)) return false;
    texture->presentation.alpha = AlphaForm::kStraight;
  } else if (!StoreBoundForDrawing(services, *frameBuffer)) {
    return false;
  }
  return frameBuffer->Clear(ColorOf(rgba).data());
}

FrameBuffer* CreateFrameBuffer(const FrameServices& services, const FrameBufferSetting& setting, const Camera& camera) {
  const int maxSize = Limits::MaxTextureSize();
  // A frame buffer without buffers of its own takes the size of what is bound to it.
  const int minSize = setting.colorRenderBuffer || setting.depthStencil ? 1 : 0;
  const auto fits = [&](int size) { return size >= minSize && size <= maxSize; };
  constexpr char kSize[] = "1 (0 without buffers of its own) to the driver's texture limit";
  if (!Expect(fits(setting.width), "width", kSize) || !Expect(fits(setting.height), "height", kSize)) return nullptr;
  auto frameBuffer = std::make_unique<FrameBuffer>(services.surfaces);
  frameBuffer->camera = camera;
  return frameBuffer->Allocate(setting) ? frameBuffer.release() : nullptr;
}

bool DrawTexture(const FrameServices& services, Texture* source, FrameBuffer* destination,
                 const QVGDrawTextureParams* params) {
  if (source == nullptr || destination == nullptr) return false;
  TextureDrawer::Parameters parameters = params != nullptr ? ParametersOf(*params) : TextureDrawer::Parameters();
  parameters.mainTexture = source;
  Texture* const target = destination->ColorTexture();
  if (!StoreBoundForDrawing(services, *destination)) return false;
  // A texture that is drawn to can't be sampled at other positions at the same time.
  TextureLease copy;
  if (target != nullptr && (source == target || parameters.matteTexture == target)) {
    copy = Copy(services, *target);
    if (!copy) return false;
    if (source == target) parameters.mainTexture = copy.Get();
    if (parameters.matteTexture == target) parameters.matteTexture = copy.Get();
  }
  const Scene scene = destination->AsScene();
  return TextureDrawer(services.programs, services.surfaces).Draw(&scene, parameters);
}

}  // namespace qvg
