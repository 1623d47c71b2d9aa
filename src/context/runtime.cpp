#include "context/runtime.h"

#include "base/limits.h"
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
  if (entry->texture != nullptr) return new CachedImage(entry);
  // Cached first as something else than an image.
  cache_.Release(entry, false);
  return nullptr;
}

void Runtime::CachedImages::Release(Image* image) {
  // Kept until teardown, so that the next one need not decode it again.
  cache_.Release(static_cast<CachedImage*>(image)->entry, false);
  delete image;
}

Runtime::Platform::~Platform() { ShutdownContextPlatform(); }

Runtime::OtherContexts::~OtherContexts() {
  if (!last.has_value()) return;
  last->OthersGo();
  contexts.DestroyOthers(last->Handle());
}

Runtime::Runtime(const ResourceCache::Callbacks& callbacks)
    : textures(contexts, kTexturePoolCapacity), resources(callbacks, textures, scratchBuffers) {}

Runtime::~Runtime() = default;

void Runtime::BeginEnd() { last.emplace(contexts); }

bool Runtime::Start() {
  Limits::Forget();
  if (contexts.Init()) return true;
  LogLocated(kLogError, "contextManager_->Init() failed.");
  return false;
}

}  // namespace qvg
