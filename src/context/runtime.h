#pragma once

#include <functional>

#include "base/glContext.h"
#include "base/programCache.h"
#include "base/surfaceSource.h"
#include "effect/effectManager.h"
#include "effect/imageSource.h"
#include "frame/frameServices.h"
#include "pool/pixelBufferMapper.h"
#include "pool/pixelBufferPool.h"
#include "pool/renderBufferPool.h"
#include "pool/resourceCache.h"
#include "pool/scratchBufferPool.h"
#include "pool/texturePool.h"

namespace qvg {

/// Everything that runs between a start and a release; lives on the service thread. Members are created in the order of
/// their declaration and destroyed in reverse order, with the service thread's context current until the last GL object
/// is gone.
struct Runtime {
  /// @param overBudget see TexturePool.
  Runtime(ServiceThread& service, const ResourceCache::Callbacks& callbacks, std::function<void()> overBudget);
  ~Runtime();
  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;

  /// False, with a log line, when no GL context can be created.
  bool Start();
  /// Destroys an idle texture when the pool is over its budget; returns whether there is more to do. On the service
  /// thread.
  bool Trim() noexcept;
  /// Draws something invisible. A driver that compiles for the CPU registers exit handlers of its own at its first
  /// draw; handlers that have to run before those must be registered after this.
  void DrawOnce() noexcept;

  /// Lends textures and render buffers of the pools.
  class PooledSurfaces : public SurfaceSource {
   public:
    PooledSurfaces(TexturePool& textures, RenderBufferPool& buffers) : textures_(textures), buffers_(buffers) {}

    RenderBuffer* AcquireRenderBuffer(int width, int height, GLenum internalFormat) override;
    void ReleaseRenderBuffer(RenderBuffer*& buffer) override;
    Texture* AcquireTexture(int width, int height, GLenum internalFormat) override;
    void ReleaseTexture(Texture*& texture) override;

   private:
    TexturePool& textures_;
    RenderBufferPool& buffers_;
  };

  /// Lends images of the resource cache.
  class CachedImages : public ImageSource {
   public:
    explicit CachedImages(ResourceCache& cache) : cache_(cache) {}

    Image* Acquire(const std::string& path) override;
    void Release(Image* image) override;

   private:
    ResourceCache& cache_;
  };

  /// Ends what the platform keeps, when all contexts are gone.
  struct Platform {
    ~Platform();
  };

  /// Destroys all contexts but the service thread's. Drivers keep parts of an object for each context that used it:
  /// programs, buffers and render buffers go after the contexts.
  struct OtherContexts {
    ~OtherContexts();
    QVGLContextManager& contexts;
  };

  Platform platform;
  ScratchBufferPool scratchBuffers;
  QVGLContextManager contexts;
  /// Whether the driver has what rendering needs.
  bool canRender = false;
  RenderBufferPool renderBuffers;
  PixelBufferPool pixelBuffers;
  PixelBufferMapper mapper{contexts};
  ProgramCache programs;
  OtherContexts others{contexts};
  TexturePool textures;
  PooledSurfaces surfaces{textures, renderBuffers};
  ResourceCache resources;
  CachedImages images{resources};
  EffectManager effects{{programs, surfaces, images}};
  FrameServices frames{programs, surfaces, textures, pixelBuffers, mapper, scratchBuffers};
};

}  // namespace qvg
