#include "context/context.h"

#include <cstring>
#include <new>
#include <optional>

#include "base/glContext.h"
#include "base/programCache.h"
#include "base/surfaceSource.h"
#include "context/pixelBufferMapper.h"
#include "context/pixelBufferPool.h"
#include "context/renderBufferPool.h"
#include "context/scratchBufferPool.h"
#include "context/texturePool.h"
#include "effect/effectManager.h"
#include "effect/imageSource.h"
#include "utils/log.h"

namespace qvg {

namespace {

constexpr int32_t kTexturePoolCapacity = 1000;
constexpr int32_t kRenderBufferPoolCapacity = 100;
constexpr int32_t kPixelBufferPoolCapacity = 100;

class PooledSurfaces : public SurfaceSource {
 public:
  PooledSurfaces(TexturePool& textures, RenderBufferPool& buffers) : textures_(textures), buffers_(buffers) {}

  RenderBuffer* AcquireRenderBuffer(int width, int height, GLenum internalFormat) override {
    return buffers_.Acquire(width, height, internalFormat);
  }
  void ReleaseRenderBuffer(RenderBuffer*& buffer) override { buffers_.Release(buffer); }
  Texture* AcquireTexture(int width, int height, GLenum internalFormat) override {
    return textures_.Acquire(static_cast<uint32_t>(width), static_cast<uint32_t>(height), internalFormat);
  }
  void ReleaseTexture(Texture*& texture) override { textures_.Release(texture); }

 private:
  TexturePool& textures_;
  RenderBufferPool& buffers_;
};

class CachedImages : public ImageSource {
 public:
  explicit CachedImages(ResourceCache& cache) : cache_(cache) {}

  Image* Acquire(const std::string& path) override {
    ResourceCache::Entry* entry = cache_.Acquire(path, ResourceCache::kImageTexture);
    if (entry == nullptr) return nullptr;
    if (entry->texture != nullptr) return new CachedImage(entry);
    // Cached first as something else than an image.
    cache_.Release(entry, false);
    return nullptr;
  }

  void Release(Image* image) override {
    // Kept until teardown, so that the next one need not decode it again.
    cache_.Release(static_cast<CachedImage*>(image)->entry, false);
    delete image;
  }

 private:
  struct CachedImage : Image {
    explicit CachedImage(ResourceCache::Entry* cached) : entry(cached) {}
    Texture* Get() const override { return entry->texture; }

    ResourceCache::Entry* entry;
  };

  ResourceCache& cache_;
};

}  // namespace

QVGContext::QVGContext() = default;

QVGContext& QVGContext::GetInstance() {
  alignas(QVGContext) static unsigned char storage[sizeof(QVGContext)];
  static QVGContext* const instance = new (storage) QVGContext();
  instance->Init();
  return *instance;
}

void QVGContext::Init() {
  if (initialised_) return;
  std::lock_guard lock(mutex_);
  if (initialised_) return;
  try {
    _Create();
  } catch (...) {
    _Destroy();
    throw;
  }
}

void QVGContext::_Create() {
  contextManager_ = std::make_unique<QVGLContextManager>();
  if (!contextManager_->Init()) {
    LogLocated(kLogError, "contextManager_->Init() failed.");
    _Destroy();
    return;
  }
  programCache_ = std::make_unique<ProgramCache>();
  texturePool_ = std::make_unique<TexturePool>(*contextManager_, kTexturePoolCapacity);
  renderBufferPool_ = std::make_unique<RenderBufferPool>(kRenderBufferPoolCapacity);
  pixelBufferPool_ = std::make_unique<PixelBufferPool>(kPixelBufferPoolCapacity);
  pixelBufferMapper_ = std::make_unique<PixelBufferMapper>(*contextManager_);
  scratchBufferPool_ = std::make_unique<ScratchBufferPool>();
  surfaces_ = std::make_unique<PooledSurfaces>(*texturePool_, *renderBufferPool_);
  resourceCache_ = std::make_unique<ResourceCache>(callbacks_, *texturePool_, *scratchBufferPool_);
  images_ = std::make_unique<CachedImages>(*resourceCache_);
  effectManager_ = std::make_unique<EffectManager>(EffectServices{*programCache_, *surfaces_, *images_});
  initialised_ = true;
}

void QVGContext::Uninit() {
  if (!initialised_) return;
  std::lock_guard lock(mutex_);
  if (!initialised_) return;
  {
    const TemporaryContext context(*contextManager_);
    effectManager_.reset();
    images_.reset();
    resourceCache_.reset();
    texturePool_.reset();
    contextManager_->DestroyOthers(context.Handle());
    programCache_.reset();
    pixelBufferMapper_.reset();
    pixelBufferPool_.reset();
    renderBufferPool_.reset();
    surfaces_.reset();
  }
  _Destroy();
  initialised_ = false;
}

// What is left when there is nothing of GL in the pools any more, or never was.
void QVGContext::_Destroy() {
  effectManager_.reset();
  images_.reset();
  resourceCache_.reset();
  surfaces_.reset();
  texturePool_.reset();
  programCache_.reset();
  pixelBufferMapper_.reset();
  pixelBufferPool_.reset();
  renderBufferPool_.reset();
  if (contextManager_ != nullptr) contextManager_->Uninit();
  contextManager_.reset();
  scratchBufferPool_.reset();
  ShutdownContextPlatform();
}

bool QVGContext::CanRender() const {
  // Shaders of version 4.10 and immutable textures, which came with 4.2, are what everything is made of.
  constexpr int32_t kLeastMajor = 4;
  constexpr int32_t kLeastMinor = 1;
  int32_t major = 0;
  int32_t minor = 0;
  GetGLVersion(&major, &minor);
  return (major > kLeastMajor || (major == kLeastMajor && minor >= kLeastMinor)) && glTexStorage2D != nullptr;
}

void QVGContext::SetConfig(const QVGConfig& config) {
  std::lock_guard lock(mutex_);
  std::memcpy(configText_, config.text, sizeof configText_ - 1);
  configText_[sizeof configText_ - 1] = '\0';
  callbacks_.decodeImage = config.decodeImage;
  callbacks_.freeImage = config.freeImage;
}

bool QVGContext::IsGLVersionSupported() const {
  int32_t major = 0;
  int32_t minor = 0;
  GetGLVersion(&major, &minor);
  return initialised_ && (major > kRequiredMajor || (major == kRequiredMajor && minor >= kRequiredMinor));
}

void QVGContext::GetGLVersion(int32_t* major, int32_t* minor) const {
  int32_t loadedMajor = 0;
  int32_t loadedMinor = 0;
  if (initialised_) LoadedGLVersion(&loadedMajor, &loadedMinor);
  if (major != nullptr) *major = loadedMajor;
  if (minor != nullptr) *minor = loadedMinor;
}

void QVGContext::GetRequiredGLVersion(int32_t* major, int32_t* minor) {
  if (major != nullptr) *major = kRequiredMajor;
  if (minor != nullptr) *minor = kRequiredMinor;
}

}  // namespace qvg
