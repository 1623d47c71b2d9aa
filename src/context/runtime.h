#pragma once

#include <optional>

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

/// Everything that runs between a start and a release. The order of the members is that of making them; they go in the
/// opposite order, with a context of their own current until the last thing of GL is gone.
struct Runtime {
  explicit Runtime(const ResourceCache::Callbacks& callbacks);
  ~Runtime();
  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;

  /// False, which is logged, when there is no GL context to be had.
  bool Start();
  /// To be called before a runtime that was started goes: makes the context current in which its objects end.
  void BeginEnd();

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

  /// Destroys all contexts but the last one. Drivers keep parts of an object for each context that used it: programs,
  /// buffers and render buffers go after the contexts.
  struct OtherContexts {
    ~OtherContexts();
    QVGLContextManager& contexts;
    std::optional<TemporaryContext>& last;
  };

  Platform platform;
  ScratchBufferPool scratchBuffers;
  QVGLContextManager contexts;
  std::optional<TemporaryContext> last;  // current while the rest goes
  RenderBufferPool renderBuffers;
  PixelBufferPool pixelBuffers;
  PixelBufferMapper mapper{contexts};
  ProgramCache programs;
  OtherContexts others{contexts, last};
  TexturePool textures;
  PooledSurfaces surfaces{textures, renderBuffers};
  ResourceCache resources;
  CachedImages images{resources};
  EffectManager effects{{programs, surfaces, images}};
  FrameServices frames{programs, surfaces, textures, pixelBuffers, mapper, scratchBuffers};
};

}  // namespace qvg
