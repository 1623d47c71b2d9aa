#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "context/resourceCache.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg {

class EffectManager;
class ImageSource;
class PixelBufferMapper;
class PixelBufferPool;
class ProgramCache;
class QVGLContextManager;
class RenderBufferPool;
class ScratchBufferPool;
class SurfaceSource;
class TexturePool;

/// The one process-wide object behind the function table: owns the contexts, the pools and the program cache. Started
/// by the first use, torn down and started again any number of times. Its members are null while it is not running.
class QVGContext {
 public:
  static constexpr int32_t kRequiredMajor = 4;
  static constexpr int32_t kRequiredMinor = 2;

  /// The instance, started when it is not running. When starting fails the next call tries again.
  static QVGContext& GetInstance();

  QVGContext();
  QVGContext(const QVGContext&) = delete;
  QVGContext& operator=(const QVGContext&) = delete;

  void Init();
  void Uninit();

  void SetConfig(const QVGConfig& config);

  bool IsGLVersionSupported() const;
  void GetGLVersion(int32_t* major, int32_t* minor) const;
  static void GetRequiredGLVersion(int32_t* major, int32_t* minor);

  /// Whether the pools and caches are there and the driver has the entry points that they use.
  bool CanRender() const;

  /// Null while the context is not running.
  QVGLContextManager* Contexts() const { return initialised_ ? contextManager_.get() : nullptr; }
  ProgramCache& Programs() const { return *programCache_; }
  TexturePool& Textures() const { return *texturePool_; }
  RenderBufferPool& RenderBuffers() const { return *renderBufferPool_; }
  PixelBufferPool& PixelBuffers() const { return *pixelBufferPool_; }
  PixelBufferMapper& Mapper() const { return *pixelBufferMapper_; }
  ScratchBufferPool& ScratchBuffers() const { return *scratchBufferPool_; }
  SurfaceSource& Surfaces() const { return *surfaces_; }
  ResourceCache& Resources() const { return *resourceCache_; }
  EffectManager& Effects() const { return *effectManager_; }

 private:
  // Never destroyed: the host may end the process without releasing, and nothing of GL may run then.
  ~QVGContext() = default;

  void _Create();
  void _Destroy();

  std::atomic<bool> initialised_ = false;
  std::mutex mutex_;
  std::unique_ptr<QVGLContextManager> contextManager_;
  std::unique_ptr<ProgramCache> programCache_;
  std::unique_ptr<TexturePool> texturePool_;
  std::unique_ptr<RenderBufferPool> renderBufferPool_;
  std::unique_ptr<PixelBufferPool> pixelBufferPool_;
  std::unique_ptr<PixelBufferMapper> pixelBufferMapper_;
  std::unique_ptr<ScratchBufferPool> scratchBufferPool_;
  std::unique_ptr<SurfaceSource> surfaces_;
  std::unique_ptr<ResourceCache> resourceCache_;
  std::unique_ptr<ImageSource> images_;
  std::unique_ptr<EffectManager> effectManager_;
  char configText_[2048] = {};
  ResourceCache::Callbacks callbacks_;
};

}  // namespace qvg
