#include "context/frameOperations.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <memory>
#include <optional>
#include <source_location>
#include <utility>

#include "base/bo.h"
#include "base/surfaceSource.h"
#include "context/context.h"
#include "context/pixelBufferMapper.h"
#include "context/pixelBufferPool.h"
#include "context/pixelFormat.h"
#include "context/scratchBufferPool.h"
#include "context/texturePool.h"
#include "drawer/rgb2yuvDrawer.h"
#include "drawer/rgbMattDrawer.h"
#include "drawer/textureDrawer.h"
#include "drawer/yuv2rgbDrawer.h"
#include "utils/log.h"

namespace qvg {

namespace {

constexpr int32_t kReadBackKind = 2;

// A pooled texture for the length of a scope.
class TextureLease {
 public:
  TextureLease() = default;
  TextureLease(TexturePool& pool, int width, int height, GLenum internalFormat)
      : pool_(&pool),
        texture_(pool.Acquire(static_cast<uint32_t>(width), static_cast<uint32_t>(height), internalFormat)) {}
  TextureLease(TextureLease&& other) noexcept : pool_(other.pool_), texture_(other.Take()) {}
  TextureLease& operator=(TextureLease&& other) noexcept {
    std::swap(pool_, other.pool_);
    std::swap(texture_, other.texture_);
    return *this;
  }
  ~TextureLease() {
    if (texture_ != nullptr) pool_->Release(texture_);
  }

  Texture* Get() const { return texture_; }
  Texture* operator->() const { return texture_; }
  explicit operator bool() const { return texture_ != nullptr; }
  Texture* Take() { return std::exchange(texture_, nullptr); }

 private:
  TexturePool* pool_ = nullptr;
  Texture* texture_ = nullptr;
};

int MaxTextureSize() {
  GLint size = 0;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &size);
  return size;
}

// A frame buffer with a camera of its size that draws into the texture's content.
std::unique_ptr<FrameBuffer> FrameBufferOn(QVGContext& context, Texture& texture) {
  auto frameBuffer = std::make_unique<FrameBuffer>(context.Surfaces());
  frameBuffer->camera = Camera::ForCanvas(texture.loadedWidth, texture.loadedHeight);
  FrameBufferSetting setting;
  setting.width = texture.loadedWidth;
  setting.height = texture.loadedHeight;
  if (!frameBuffer->Allocate(setting) || !frameBuffer->BindColorTexture(&texture)) return nullptr;
  return frameBuffer;
}

// How a plane's pixels get into a texture: Texture::Load or Texture::LoadAtOrigin.
using Loader = bool (Texture::*)(int, int, const void*, GLenum, GLenum, int, std::source_location);

bool LoadPlane(QVGContext& context, Texture& texture, const PlaneView& plane, Loader load) {
  const PlaneFormat& format = plane.format;
  if (plane.stride % format.bytesPerTexel == 0) {
    // Never reads behind the last texel of the last row, which may lack its padding.
    return (texture.*load)(plane.width, plane.height, plane.pixels, format.format, format.type,
                           static_cast<int>(plane.stride / format.bytesPerTexel), std::source_location::current());
  }
  const size_t rowBytes = static_cast<size_t>(plane.RowBytes());
  const auto packed = context.ScratchBuffers().Lend(rowBytes * static_cast<size_t>(plane.height));
  for (int row = 0; row < plane.height; ++row) {
    std::memcpy(packed.Data() + rowBytes * static_cast<size_t>(row), plane.pixels + plane.stride * row, rowBytes);
  }
  return (texture.*load)(plane.width, plane.height, packed.Data(), format.format, format.type, 0,
                         std::source_location::current());
}

bool DrawYUVToTexture(QVGContext& context, Texture& destination, const FrameView& frame) {
  const std::unique_ptr<FrameBuffer> scene = FrameBufferOn(context, destination);
  if (scene == nullptr) return false;
  YUV2RGBDrawer drawer(context.Programs());
  TextureLease textures[3];
  for (int i = 0; i < frame.format->planeCount; ++i) {
    const PlaneView& plane = frame.planes[static_cast<size_t>(i)];
    textures[i] = TextureLease(context.Textures(), plane.width, plane.height, plane.format.internalFormat);
    if (!textures[i] || !LoadPlane(context, *textures[i].Get(), plane, &Texture::LoadAtOrigin)) return false;
    drawer.planes[i] = {textures[i].Get(), plane.width, plane.height};
  }
  drawer.format = frame.format->yuvFormat;
  drawer.fullRange = frame.format->fullRange;
  drawer.SetScene(scene.get());
  return drawer.Draw();
}

bool DrawMatted(QVGContext& context, Texture& destination, Texture& source, bool flip, const QVGColor& matte) {
  destination.CentreContent(source.loadedWidth, source.loadedHeight);
  const std::unique_ptr<FrameBuffer> scene = FrameBufferOn(context, destination);
  if (scene == nullptr) return false;
  RGBMattDrawer drawer(context.Programs());
  drawer.source = &source;
  drawer.flip = flip;
  drawer.keyColor = {matte.r, matte.g, matte.b, matte.a};
  drawer.SetScene(scene.get());
  return drawer.Draw();
}

bool UploadRGB(QVGContext& context, Texture& destination, const FrameView& frame, bool flipped, bool shouldMattRGB,
               const QVGColor& matte) {
  const PlaneView& pixels = frame.planes[0];
  const TextureSetting& storage = destination.Setting();
  if (storage.width < frame.width || storage.height < frame.height ||
      storage.internalFormat != pixels.format.internalFormat) {
    return false;
  }
  if (!shouldMattRGB || !frame.format->mattable) {
    if (!LoadPlane(context, destination, pixels, &Texture::Load) || !destination.RemapRGBA(frame.format->swizzle)) {
      return false;
    }
    destination.flipped = !flipped;
    return true;
  }
  const TextureLease temporary(context.Textures(), frame.width, frame.height, pixels.format.internalFormat);
  if (!temporary) {
    LogShort(kLogError, "QVG_UploadPixelBufferToTexture: shouldMattRGB, but fetch temp texture from pool failed.");
    return false;
  }
  if (!LoadPlane(context, *temporary.Get(), pixels, &Texture::Load) || !temporary->RemapRGBA(frame.format->swizzle) ||
      !destination.RemapRGBA(kSwizzleRGBA) || !DrawMatted(context, destination, *temporary.Get(), flipped, matte)) {
    return false;
  }
  destination.flipped = true;
  return true;
}

bool UploadFrame(QVGContext& context, Texture& destination, const FrameView& frame, bool flipped, bool shouldMattRGB,
                 const QVGColor& matte) {
  if (!frame.format->IsYUV()) {
    return UploadRGB(context, destination, frame, flipped, shouldMattRGB, matte);
  }
  if (!destination.RemapRGBA(kSwizzleRGBA) || !DrawYUVToTexture(context, destination, frame)) return false;
  destination.flipped = !flipped;
  return true;
}

/// Fills the descriptor of a read-back; the planes follow when the memory is mapped.
void Describe(QVGPixelBuffer& out, const Texture& source, int32_t format, int stride0, int stride1, int stride2) {
  const int32_t reserved = out.reserved;
  out = {};
  out.reserved = reserved;
  out.stride[0] = stride0;
  out.stride[1] = stride1;
  out.stride[2] = stride2;
  out.width = source.loadedWidth;
  out.height = source.loadedHeight;
  out.kind = kReadBackKind;
  out.format = format;
}

// Takes a pixel-pack buffer, lets fill start the transfer into it and maps it. Null on any failure.
template <class Fill>
uint8_t* ReadBack(QVGContext& context, int64_t size, GLenum usage, Fill fill) {
  const auto giveBack = [&context](BO* buffer) { context.PixelBuffers().Release(buffer); };
  std::unique_ptr<BO, decltype(giveBack)> buffer(context.PixelBuffers().Acquire(size, usage, GL_PIXEL_PACK_BUFFER),
                                                 giveBack);
  if (buffer == nullptr || !fill(*buffer)) return nullptr;
  uint32_t mappedSize = 0;
  void* address = context.Mapper().Map(buffer.get(), &mappedSize);
  // Mapped, it is the mapper's until the host releases it.
  if (address != nullptr) buffer.release();
  return static_cast<uint8_t*>(address);
}

// Formats that can be attached to a frame buffer; others are drawn.
bool IsRenderable(const Texture& texture) {
  const GLenum format = texture.Setting().internalFormat;
  return format == GL_RGBA8 || format == GL_RGB8;
}

bool CanReadDirectly(const Texture& source) { return source.CurrentSwizzle() == kSwizzleRGBA && IsRenderable(source); }

// The host may have set any size and origin.
bool ContentIsInside(const Texture& texture) {
  const TextureSetting& storage = texture.Setting();
  return texture.loadedWidth >= 1 && texture.loadedHeight >= 1 && texture.offsetX >= 0 && texture.offsetY >= 0 &&
         int64_t{texture.offsetX} + texture.loadedWidth <= storage.width &&
         int64_t{texture.offsetY} + texture.loadedHeight <= storage.height;
}

// A copy of the content with the channels as they are stored, and the same look.
TextureLease CopyStored(QVGContext& context, const Texture& source) {
  TextureLease copy(context.Textures(), source.loadedWidth, source.loadedHeight, source.Setting().internalFormat);
  if (!copy ||
      !copy->SubmitCopyFrom(&source, source.offsetX, source.offsetY, source.loadedWidth, source.loadedHeight) ||
      !copy->RemapRGBA(source.CurrentSwizzle())) {
    return {};
  }
  copy->flipped = source.flipped;
  copy->rotation = source.rotation;
  return copy;
}

// Draws the source as it looks, unturned, over the whole content of the scene, which has its size.
bool DrawWhole(QVGContext& context, Texture& source, FrameBuffer& scene, bool flip) {
  TextureDrawer drawer(context.Programs(), context.Surfaces());
  drawer.mainTexture = &source;
  drawer.model.scale.y = flip ? -1.0f : 1.0f;
  drawer.applyRotation = false;
  drawer.SetScene(&scene);
  return drawer.Draw();
}

bool ReadRGB(QVGContext& context, Texture* source, QVGPixelBuffer* out, bool flip, int32_t code, GLenum format) {
  if (source == nullptr || out == nullptr || !ContentIsInside(*source)) return false;
  const int width = source->loadedWidth;
  const int height = source->loadedHeight;
  Describe(*out, *source, code, width * 4, 0, 0);
  out->plane[0] = ReadBack(context, int64_t{width} * 4 * height, GL_DYNAMIC_READ, [&](BO& buffer) {
    if (!flip && CanReadDirectly(*source)) {
      const std::unique_ptr<FrameBuffer> direct = FrameBufferOn(context, *source);
      return direct != nullptr && direct->BlitToPbo(&buffer, 0, 0, width, height, 0, format);
    }
    FrameBufferSetting setting;
    setting.width = width;
    setting.height = height;
    setting.colorRenderBuffer = true;
    FrameBuffer scene(context.Surfaces());
    scene.camera = Camera::ForCanvas(width, height);
    if (!scene.Allocate(setting)) return false;
    return DrawWhole(context, *source, scene, flip) && scene.BlitToPbo(&buffer, 0, 0, width, height, 0, format);
  });
  return out->plane[0] != nullptr;
}

// What is drawn is stored as R, G, B, A: brings what is there into that order too, unless it is already.
bool StoreAsRGBA(QVGContext& context, Texture& texture) {
  if (texture.CurrentSwizzle() == kSwizzleRGBA) return true;
  const TextureLease stored = CopyStored(context, texture);
  if (!stored || !texture.RemapRGBA(kSwizzleRGBA)) return false;
  const std::unique_ptr<FrameBuffer> scene = FrameBufferOn(context, texture);
  return scene != nullptr && DrawWhole(context, *stored.Get(), *scene, false);
}

bool Clear(FrameBuffer& frameBuffer, const double rgba[4]) {
  const float color[4] = {ColorComponent(rgba[0]), ColorComponent(rgba[1]), ColorComponent(rgba[2]),
                          ColorComponent(rgba[3])};
  return frameBuffer.Clear(color);
}

int64_t YUVBufferSize(int64_t bytes) { return (bytes + 3) / 4 * 4 + 4; }

// A rectangle of the rendered 4:2:0 frame, in bytes and rows, and where it goes.
struct YUVTransfer {
  int x;
  int y;
  int width;
  int height;
  int64_t offset;
};

// Renders the whole 4:2:0 frame and transfers parts of it.
uint8_t* ReadYUV(QVGContext& context, Texture& source, bool nv12, bool mirror, bool fullRange, int64_t bytes,
                 std::initializer_list<YUVTransfer> transfers) {
  return ReadBack(context, YUVBufferSize(bytes), GL_DYNAMIC_DRAW, [&](BO& buffer) {
    RGB2YUVDrawer drawer(context.Programs());
    drawer.nv12 = nv12;
    drawer.input = &source;
    drawer.flip = !source.flipped;
    drawer.mirror = mirror;
    drawer.fullRange = fullRange;
    const int texelBytes = drawer.BytesPerTexel();
    const TextureLease target(context.Textures(), source.loadedWidth / texelBytes, source.loadedHeight * 3 / 2,
                              texelBytes == 4 ? GL_RGBA8 : GL_R8);
    if (!target) return false;
    const std::unique_ptr<FrameBuffer> scene = FrameBufferOn(context, *target.Get());
    if (scene == nullptr) return false;
    drawer.SetScene(scene.get());
    if (!drawer.Draw()) return false;
    for (const YUVTransfer& part : transfers) {
      // A size of 0 would mean the whole frame buffer.
      if (part.width < 1 || part.height < 1) continue;
      if (!scene->BlitToPbo(&buffer, part.x / texelBytes, part.y, part.width / texelBytes, part.height, part.offset,
                            texelBytes == 4 ? GL_RGBA : GL_RED)) {
        return false;
      }
    }
    return true;
  });
}

}  // namespace

bool UploadPixelBufferToTexture(QVGContext& context, Texture* destination, const QVGPixelBuffer* source, bool flipped,
                                bool shouldMattRGB, const QVGColor& matte) {
  if (destination == nullptr || source == nullptr) return false;
  const std::optional<FrameView> frame = ViewFrame(*source, MaxTextureSize());
  return frame.has_value() && UploadFrame(context, *destination, *frame, flipped, shouldMattRGB, matte);
}

Texture* UploadPixelBufferToNewTexture(QVGContext& context, const QVGPixelBuffer* source, bool flipped,
                                       bool shouldMattRGB, const QVGColor& matte) {
  if (source == nullptr) return nullptr;
  const std::optional<FrameView> frame = ViewFrame(*source, MaxTextureSize());
  if (!frame.has_value()) return nullptr;
  const bool rgb = !frame->format->IsYUV();
  TextureLease texture(context.Textures(), frame->width, frame->height,
                       rgb ? frame->planes[0].format.internalFormat : GLenum{GL_RGBA8});
  if (!texture || !UploadFrame(context, *texture.Get(), *frame, flipped, shouldMattRGB, matte)) return nullptr;
  return texture.Take();
}

bool TextureToRGBAPixelBuffer(QVGContext& context, Texture* source, QVGPixelBuffer* out, bool flip) {
  return ReadRGB(context, source, out, flip, QVG_FORMAT_RGBA, GL_RGBA);
}

bool TextureToBGRAPixelBuffer(QVGContext& context, Texture* source, QVGPixelBuffer* out, bool flip) {
  return ReadRGB(context, source, out, flip, QVG_FORMAT_BGRA, GL_BGRA);
}

bool TextureToNV12PixelBuffer(QVGContext& context, Texture* source, QVGPixelBuffer* out, bool mirror) {
  if (source == nullptr || out == nullptr || !ContentIsInside(*source)) return false;
  const int width = source->loadedWidth;
  const int height = source->loadedHeight;
  Describe(*out, *source, QVG_FORMAT_NV12, width, width, 0);
  const int64_t lumaBytes = int64_t{width} * height;
  // Rows of luma and then of chroma, as the host wants them: one transfer does.
  uint8_t* address = ReadYUV(context, *source, true, mirror, false, lumaBytes * 2, {{0, 0, width, height * 3 / 2, 0}});
  if (address == nullptr) return false;
  out->plane[0] = address;
  out->plane[1] = address + lumaBytes;
  return true;
}

bool TextureToYUV420PixelBuffer(QVGContext& context, Texture* source, bool fullRange, bool mirror,
                                QVGPixelBuffer* out) {
  if (source == nullptr || out == nullptr || !ContentIsInside(*source)) return false;
  const int width = source->loadedWidth;
  const int height = source->loadedHeight;
  const int halfWidth = width / 2;
  const int halfHeight = height / 2;
  Describe(*out, *source, fullRange ? QVG_FORMAT_J420 : QVG_FORMAT_I420, width, halfWidth, halfWidth);
  const int64_t lumaBytes = int64_t{width} * height;
  const int64_t uOffset = lumaBytes;
  const int64_t vOffset = lumaBytes * 5 / 4;
  uint8_t* address = ReadYUV(context, *source, false, mirror, fullRange, (width + 2 * int64_t{halfWidth}) * height,
                             {{0, 0, width, height, 0},
                              {0, height, halfWidth, halfHeight, uOffset},
                              {halfWidth, height, halfWidth, halfHeight, vOffset}});
  if (address == nullptr) return false;
  out->plane[0] = address;
  out->plane[1] = address + uOffset;
  out->plane[2] = address + vOffset;
  return true;
}

void ReleasePixelBuffer(QVGContext& context, QVGPixelBuffer** buffer) {
  if (buffer == nullptr) return;
  if (*buffer != nullptr) {
    BO* mapped = context.Mapper().UnMap((*buffer)->plane[0]);
    if (mapped != nullptr) context.PixelBuffers().Release(mapped);
  }
  *buffer = nullptr;
}

Texture* CloneTexture(QVGContext& context, Texture* source) {
  if (source == nullptr || !ContentIsInside(*source)) return nullptr;
  TextureLease copy(context.Textures(), source->loadedWidth, source->loadedHeight, GL_RGBA8);
  if (!copy) return nullptr;
  if (IsRenderable(*source)) {
    if (!copy->CopyFrom(source, source->offsetX, source->offsetY, source->loadedWidth, source->loadedHeight) ||
        !copy->RemapRGBA(source->CurrentSwizzle())) {
      return nullptr;
    }
  } else {
    const std::unique_ptr<FrameBuffer> scene = FrameBufferOn(context, *copy.Get());
    if (scene == nullptr || !DrawWhole(context, *source, *scene, false)) return nullptr;
    glFinish();
  }
  copy->flipped = source->flipped;
  copy->rotation = source->rotation;
  return copy.Take();
}

float ColorComponent(double value) {
  constexpr double kLargest = std::numeric_limits<float>::max();
  return std::isnan(value) ? 0 : static_cast<float>(std::clamp(value, -kLargest, kLargest));
}

bool ClearTexture(QVGContext& context, Texture* texture, const double rgba[4]) {
  if (texture == nullptr || rgba == nullptr || !texture->RemapRGBA(kSwizzleRGBA)) return false;
  const std::unique_ptr<FrameBuffer> scene = FrameBufferOn(context, *texture);
  if (scene == nullptr) return false;
  return Clear(*scene, rgba);
}

bool BindTextureToFrameBuffer(QVGContext& context, FrameBuffer* frameBuffer, Texture* texture) {
  if (frameBuffer == nullptr || texture == nullptr) return false;
  return StoreAsRGBA(context, *texture) && frameBuffer->BindColorTexture(texture);
}

bool ClearFrameBuffer(FrameBuffer* frameBuffer, const double rgba[4]) {
  if (frameBuffer == nullptr || rgba == nullptr) return false;
  Texture* texture = frameBuffer->ColorTexture();
  if (texture != nullptr && !texture->RemapRGBA(kSwizzleRGBA)) return false;
  return Clear(*frameBuffer, rgba);
}

FrameBuffer* CreateFrameBuffer(QVGContext& context, const FrameBufferSetting& setting, const Camera& camera) {
  const int maxSize = MaxTextureSize();
  if (setting.width < 1 || setting.height < 1 || setting.width > maxSize || setting.height > maxSize) return nullptr;
  auto frameBuffer = std::make_unique<FrameBuffer>(context.Surfaces());
  frameBuffer->camera = camera;
  return frameBuffer->Allocate(setting) ? frameBuffer.release() : nullptr;
}

bool DrawTexture(QVGContext& context, Texture* source, FrameBuffer* destination, const QVGDrawTextureParams* params) {
  if (source == nullptr || destination == nullptr) return false;
  TextureDrawer drawer(context.Programs(), context.Surfaces());
  drawer.mainTexture = source;
  if (params != nullptr) {
    const auto vec3 = [](const double(&v)[3]) { return glm::vec3(v[0], v[1], v[2]); };
    drawer.matteTexture = reinterpret_cast<Texture*>(params->matteTexture);
    drawer.blendType = params->blendType;
    drawer.matteType = params->matteType;
    drawer.simpleMatte = params->simpleMatte;
    drawer.simpleMatteSize = {params->simpleMatteSize[0], params->simpleMatteSize[1]};
    drawer.depthTest = params->depthTest;
    drawer.opacity = static_cast<float>(params->opacity);
    drawer.anchor = vec3(params->anchor);
    drawer.model = {vec3(params->translation), vec3(params->scale), vec3(params->rotation)};
    drawer.useSizeFactor = params->useSizeFactor;
    drawer.sizeFactor = {params->sizeFactor[0], params->sizeFactor[1]};
  }
  // What is drawn to can't be sampled at other places at the same time.
  TextureLease copy;
  Texture* target = destination->ColorTexture();
  if (target != nullptr && !StoreAsRGBA(context, *target)) return false;
  if (target != nullptr && (source == target || drawer.matteTexture == target)) {
    copy = CopyStored(context, *target);
    if (!copy) return false;
    if (source == target) drawer.mainTexture = copy.Get();
    if (drawer.matteTexture == target) drawer.matteTexture = copy.Get();
  }
  drawer.SetScene(destination);
  return drawer.Draw();
}

}  // namespace qvg
