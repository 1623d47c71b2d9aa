#pragma once

#include <cstdint>
#include <mutex>

#include "base/gl.h"
#include "pool/idleList.h"

namespace qvg {

class RenderBuffer;
struct PooledRenderBuffer;

/// Recycles render buffers. One that is handed out may be larger than asked for; its content is centred in it. Any
/// thread, with a context of the share group current.
class RenderBufferPool {
 public:
  RenderBufferPool() = default;
  ~RenderBufferPool();
  RenderBufferPool(const RenderBufferPool&) = delete;
  RenderBufferPool& operator=(const RenderBufferPool&) = delete;

  /// Null without a current context or when the driver refuses.
  RenderBuffer* Acquire(int width, int height, GLenum internalFormat);
  void Release(RenderBuffer*& buffer);
  void Preallocate(int width, int height, int32_t count);
  /// Deletes every idle render buffer.
  bool Clear();

 private:
  std::mutex mutex_;
  IdleList<PooledRenderBuffer> idle_;
};

}  // namespace qvg
