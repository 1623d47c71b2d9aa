#include "context/runtime.h"

#include <exception>
#include <memory>
#include <utility>

#include "base/driverTurn.h"
#include "base/entryPoints.h"
#include "base/limits.h"
#include "frame/draw.h"
#include "pool/textureLease.h"
#include "utils/log.h"

namespace qvg {

namespace {

constexpr int32_t kTexturePoolCapacity = 1000;

struct CachedImage : ImageSource::Image {
  explicit CachedImage(ResourceCache::Entry* cached) : entry(cached) {}
  Texture* Get() const override { return entry->texture; }

  ResourceCache::Entry* entry;
};

}  // namespace

RenderBuffer* Runtime::PooledSurfaces::AcquireRenderBuffer(int width, int height, GLenum internalFormat) {
  return buffers_.Acquire(width, height, internalFormat);
}

void Runtime::PooledSurfaces::ReleaseRenderBuffer(RenderBuffer*& buffer) { buffers_.Release(buffer); }

Texture* Runtime::PooledSurfaces::AcquireTexture(int width, int height, GLenum internalFormat) {
  return textures_.Acquire(static_cast<uint32_t>(width), static_cast<uint32_t>(height), internalFormat);
}

void Runtime::PooledSurfaces::ReleaseTexture(Texture*& texture) { textures_.Release(texture); }

ImageSource::Image* Runtime::CachedImages::Acquire(const std::string& path) {
  ResourceCache::Entry* entry = cache_.Acquire(path, ResourceCache::kImageTexture);
  if (entry == nullptr) return nullptr;
  std::unique_ptr<CachedImage> image;
  try {
    // Null: it was first cached as something other than an image.
    if (entry->texture != nullptr) image = std::make_unique<CachedImage>(entry);
  } catch (...) {
    cache_.Release(entry, false);
    throw;
  }
  if (image == nullptr) cache_.Release(entry, false);
  return image.release();
}

void Runtime::CachedImages::Release(Image* image) {
  // Kept until teardown, so that the next user doesn't decode it again.
  cache_.Release(static_cast<CachedImage*>(image)->entry, false);
  delete image;
}

Runtime::Platform::~Platform() { ShutdownContextPlatform(); }

Runtime::OtherContexts::~OtherContexts() { contexts.DestroyOthers(); }

Runtime::Runtime(ServiceThread& service, const ResourceCache::Callbacks& callbacks, std::function<void()> overBudget)
    : contexts(service),
      textures(kTexturePoolCapacity, std::move(overBudget)),
      resources(callbacks, textures, scratchBuffers) {}

// First, as the destruction of all members needs it. Without a context their GL names go with the main context.
Runtime::~Runtime() {
  try {
    contexts.EnterService();
  } catch (...) {  // There is no memory for a context.
  }
}

bool Runtime::Start() {
  Limits::Forget();
  if (!contexts.Init()) {
    LogLocated(kLogError, "contextManager_->Init() failed.");
    return false;
  }
  canRender = HasEntryPoints();
  return true;
}

void Runtime::DrawOnce() noexcept {
  try {
    if (!canRender || !contexts.EnterService()) return;
    const DriverTurn turn;
    const auto lease = [&] { return TextureLease(textures, 2, 2, GL_RGBA8); };
    if (const TextureLease source = lease(), target = lease(); source && target) {
      DrawWhole(frames, *source, *target, {});
    }
    textures.Clear();
    // The service thread's context won't draw again.
    DropContextObjects();
  } catch (const std::exception& error) {
    LogLocated(kLogError, error.what());
  }
}

bool Runtime::Trim() noexcept {
  try {
    if (!contexts.EnterService()) return false;
    const DriverTurn turn;
    return textures.Trim();
  } catch (const std::exception& error) {
    LogLocated(kLogError, error.what());
    return false;
  }
}

}  // namespace qvg
