#include "frame/readBack.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <span>

#include "base/bo.h"
#include "base/contextState.h"
#include "base/limits.h"
#include "base/scene.h"
#include "base/texture.h"
#include "drawer/rgb2yuvDrawer.h"
#include "frame/draw.h"
#include "pool/pixelBufferMapper.h"
#include "pool/pixelBufferPool.h"
#include "pool/textureLease.h"
#include "utils/slotCall.h"

namespace qvg {

namespace {

constexpr int32_t kReadBackKind = 2;

/// Fills the descriptor of a read-back; the planes follow when the memory is mapped.
void Describe(QVGPixelBuffer& out, const Texture& source, int32_t format, std::array<int, 3> strides) {
  std::copy(strides.begin(), strides.end(), out.stride);
  out.width = source.Content().width;
  out.height = source.Content().height;
  out.kind = kReadBackKind;
  out.format = format;
}

// Takes a pixel-pack buffer, lets fill start the transfer into it and maps it, which ends the operation with its error
// check. Null on any failure.
template <class Fill>
uint8_t* ReadBack(const FrameServices& services, int64_t size, GLenum usage, Fill fill) {
  const auto giveBack = [&](BO* buffer) { services.pixelBuffers.Release(buffer); };
  std::unique_ptr<BO, decltype(giveBack)> buffer(services.pixelBuffers.Acquire(size, usage, GL_PIXEL_PACK_BUFFER),
                                                 giveBack);
  if (buffer == nullptr || !fill(*buffer)) return nullptr;
  uint32_t mappedSize = 0;
  void* address = services.mapper.Map(buffer.get(), &mappedSize);
  // Once mapped, it belongs to the mapper until the host releases it.
  if (address != nullptr) static_cast<void>(buffer.release());
  return static_cast<uint8_t*>(address);
}

// A swizzle doesn't apply to reading back.
bool CanReadDirectly(const Texture& source) {
  return source.CurrentSwizzle() == kSwizzleRGBA && Limits::IsRenderable(source.Setting().internalFormat);
}

bool ReadRGB(const FrameServices& services, Texture* source, QVGPixelBuffer* out, bool flip, int32_t code,
             GLenum format) {
  if (source == nullptr || out == nullptr || !source->Content().IsInside()) return false;
  const int width = source->Content().width;
  const int height = source->Content().height;
  Describe(*out, *source, code, {width * 4, 0, 0});
  const auto fill = [&](const BO& buffer) {
    const bool direct = !flip && CanReadDirectly(*source);
    const TextureLease drawn = direct ? TextureLease() : TextureLease(services.textures, width, height, GL_RGBA8);
    if (!direct && (!drawn || !DrawWhole(services, *source, *drawn, {.flip = flip, .asStored = true}))) return false;
    const RenderTarget target = RenderTarget::On(direct ? *source : *drawn);
    if (target.frameBuffer == 0) return false;
    target.texture->SettleForReading(*CurrentContext());
    const PixelRead read = {
        target.frameBuffer, GL_COLOR_ATTACHMENT0, target.content.x, target.content.y, width, height, format};
    return SubmitReads({&read, 1}, buffer);
  };
  out->plane[0] = ReadBack(services, int64_t{width} * 4 * height, PixelBufferPool::kRGBUsage, fill);
  return out->plane[0] != nullptr;
}

/// Where the parts of a 4:2:0 frame lie in its memory.
struct YUVLayout {
  bool nv12;
  int width;
  int height;
  int64_t uOffset;
  int64_t vOffset;
};

constexpr int kBlockWidth = 4;
constexpr int kBlockHeight = 2;

// One draw into several targets, in which four or two bytes of a row are a texel: the rows of both luma targets are
// interleaved by reading each with the length of two rows.
bool SubmitBlocks(const FrameServices& services, const RGB2YUVDrawer::Parameters& parameters, const YUVLayout& layout,
                  const BO& buffer) {
  const int columns = layout.width / kBlockWidth;
  const int rows = layout.height / kBlockHeight;
  struct Part {
    GLenum internalFormat;
    GLenum format;
    int64_t offset;
    int rowLength;
  };
  const Part nv12[] = {{GL_RGBA8, GL_RGBA, 0, 2 * columns},
                       {GL_RGBA8, GL_RGBA, layout.width, 2 * columns},
                       {GL_RGBA8, GL_RGBA, layout.uOffset, 0}};
  const Part planar[] = {nv12[0], nv12[1], {GL_RG8, GL_RG, layout.uOffset, 0}, {GL_RG8, GL_RG, layout.vOffset, 0}};
  const std::span<const Part> parts = layout.nv12 ? std::span<const Part>(nv12) : std::span<const Part>(planar);

  std::array<TextureLease, TargetCache::kTextures> leases;
  std::array<const Texture*, TargetCache::kTextures> textures = {};
  for (size_t i = 0; i < parts.size(); ++i) {
    leases[i] = TextureLease(services.textures, columns, rows, parts[i].internalFormat);
    if (!leases[i]) return false;
    textures[i] = leases[i].Get();
  }
  ContextState* const context = CurrentContext();
  if (context == nullptr) return false;
  const RenderTarget target = {context->targets.FrameBufferOf(std::span(textures.data(), parts.size())),
                               {columns, rows, 0, 0, columns, rows}};
  if (target.frameBuffer == 0 || !RGB2YUVDrawer(services.programs).DrawBlocks(target, parameters)) return false;
  std::array<PixelRead, TargetCache::kTextures> reads;
  for (size_t i = 0; i < parts.size(); ++i) {
    textures[i]->NoteDrawn(*context);
    textures[i]->SettleForReading(*context);
    reads[i] = {target.frameBuffer,
                GL_COLOR_ATTACHMENT0 + static_cast<GLenum>(i),
                0,
                0,
                columns,
                rows,
                parts[i].format,
                parts[i].offset,
                parts[i].rowLength};
  }
  return SubmitReads(std::span(reads.data(), parts.size()), buffer);
}

// One byte per texel, for sizes that can't be divided into blocks.
bool SubmitBytes(const FrameServices& services, const RGB2YUVDrawer::Parameters& parameters, const YUVLayout& layout,
                 const BO& buffer) {
  const int width = layout.width;
  const int height = layout.height;
  const bool fits = height * 3 / 2 <= Limits::MaxTextureSize();
  if (!Expect(fits, "source", "at most two thirds of the texture limit in height, for this width")) return false;
  const TextureLease drawn(services.textures, width, height * 3 / 2, GL_R8);
  if (!drawn) return false;
  const Scene scene = Scene::On(*drawn);
  if (scene.target.frameBuffer == 0 || !RGB2YUVDrawer(services.programs).DrawBytes(&scene, parameters)) return false;
  struct Part {
    int x, y, width, height;
    int64_t offset;
  };
  const Part nv12[] = {{0, 0, width, height * 3 / 2, 0}};
  const Part planar[] = {{0, 0, width, height, 0},
                         {0, height, width / 2, height / 2, layout.uOffset},
                         {width / 2, height, width / 2, height / 2, layout.vOffset}};
  const ContentRect& content = scene.target.content;
  drawn->SettleForReading(*CurrentContext());
  const std::span<const Part> parts = layout.nv12 ? std::span<const Part>(nv12) : std::span<const Part>(planar);
  std::array<PixelRead, std::size(planar)> reads;
  std::transform(parts.begin(), parts.end(), reads.begin(), [&](const Part& part) {
    return PixelRead{scene.target.frameBuffer,
                     GL_COLOR_ATTACHMENT0,
                     content.x + part.x,
                     content.y + part.y,
                     part.width,
                     part.height,
                     GL_RED,
                     part.offset};
  });
  return SubmitReads(std::span(reads.data(), parts.size()), buffer);
}

uint8_t* ReadYUV(const FrameServices& services, const Texture& source, const YUVLayout& layout, bool mirror,
                 bool fullRange, int64_t bytes) {
  const RGB2YUVDrawer::Parameters parameters = {.input = &source,
                                                .nv12 = layout.nv12,
                                                .flip = !source.presentation.flipped,
                                                .mirror = mirror,
                                                .fullRange = fullRange};
  const auto submit = RGB2YUVDrawer::FitsBlocks(parameters) ? SubmitBlocks : SubmitBytes;
  const int64_t size = (bytes + 3) / 4 * 4 + 4;
  uint8_t* const address = ReadBack(services, size, PixelBufferPool::kYUVUsage,
                                    [&](const BO& buffer) { return submit(services, parameters, layout, buffer); });
  // What was just drawn has arrived, and so has everything before it.
  if (address != nullptr) ++CurrentContext()->finished;
  return address;
}

}  // namespace

bool TextureToRGBAPixelBuffer(const FrameServices& services, Texture* source, QVGPixelBuffer* out, bool flip) {
  return ReadRGB(services, source, out, flip, QVG_FORMAT_RGBA, GL_RGBA);
}

bool TextureToBGRAPixelBuffer(const FrameServices& services, Texture* source, QVGPixelBuffer* out, bool flip) {
  return ReadRGB(services, source, out, flip, QVG_FORMAT_BGRA, GL_BGRA);
}

bool TextureToNV12PixelBuffer(const FrameServices& services, Texture* source, QVGPixelBuffer* out, bool mirror) {
  if (source == nullptr || out == nullptr || !source->Content().IsInside()) return false;
  const int width = source->Content().width;
  const int height = source->Content().height;
  Describe(*out, *source, QVG_FORMAT_NV12, {width, width, 0});
  const int64_t lumaBytes = int64_t{width} * height;
  uint8_t* address = ReadYUV(services, *source, {true, width, height, lumaBytes, 0}, mirror, false, lumaBytes * 2);
  if (address == nullptr) return false;
  out->plane[0] = address;
  out->plane[1] = address + lumaBytes;
  return true;
}

bool TextureToYUV420PixelBuffer(const FrameServices& services, Texture* source, bool fullRange, bool mirror,
                                QVGPixelBuffer* out) {
  if (source == nullptr || out == nullptr || !source->Content().IsInside()) return false;
  const int width = source->Content().width;
  const int height = source->Content().height;
  const int halfWidth = width / 2;
  Describe(*out, *source, fullRange ? QVG_FORMAT_J420 : QVG_FORMAT_I420, {width, halfWidth, halfWidth});
  const int64_t lumaBytes = int64_t{width} * height;
  const YUVLayout layout = {false, width, height, lumaBytes, lumaBytes * 5 / 4};
  uint8_t* address = ReadYUV(services, *source, layout, mirror, fullRange, (width + 2 * int64_t{halfWidth}) * height);
  if (address == nullptr) return false;
  out->plane[0] = address;
  out->plane[1] = address + layout.uOffset;
  out->plane[2] = address + layout.vOffset;
  return true;
}

void ReleasePixelBuffer(const FrameServices& services, QVGPixelBuffer& buffer) {
  const auto [mapped, intact] = services.mapper.UnMap(buffer.plane[0]);
  if (mapped == nullptr) return;
  std::fill(std::begin(buffer.plane), std::end(buffer.plane), nullptr);
  if (intact) {
    BO* idle = mapped;
    services.pixelBuffers.Release(idle);
  } else {
    // Deleting it unmaps it at last.
    services.pixelBuffers.Lose();
    delete mapped;
  }
}

}  // namespace qvg
