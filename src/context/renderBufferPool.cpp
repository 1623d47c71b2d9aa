#include "context/renderBufferPool.h"

#include <memory>

#include "base/contextObjects.h"
#include "base/gpuFence.h"
#include "base/renderbuffer.h"

namespace qvg {

struct PooledRenderBuffer : RenderBuffer {
  GpuFence fence;  // Behind the work that was pending when it came back.
};

RenderBufferPool::~RenderBufferPool() { Clear(); }

RenderBuffer* RenderBufferPool::Acquire(int width, int height, GLenum internalFormat) {
  if (CurrentContextId() == 0 || width < 1 || height < 1) return nullptr;
  PooledRenderBuffer* buffer = nullptr;
  {
    std::lock_guard lock(mutex_);
    buffer = idle_.TakeFirst([&](const PooledRenderBuffer& candidate) {
      return candidate.setting.internalFormat == internalFormat && candidate.setting.width >= width &&
             candidate.setting.height >= height;
    });
  }
  if (buffer == nullptr) {
    auto created = std::make_unique<PooledRenderBuffer>();
    if (!created->Allocate({width, height, width, height, 0, internalFormat})) return nullptr;
    buffer = created.release();
  }
  buffer->fence.Wait();
  buffer->setting.contentWidth = width;
  buffer->setting.contentHeight = height;
  return buffer;
}

void RenderBufferPool::Release(RenderBuffer*& buffer) {
  PooledRenderBuffer* pooled = static_cast<PooledRenderBuffer*>(buffer);
  buffer = nullptr;
  if (pooled == nullptr) return;
  pooled->fence = GpuFence::Insert();
  std::lock_guard lock(mutex_);
  idle_.Insert(pooled, int64_t{pooled->setting.width} * pooled->setting.height);
}

bool RenderBufferPool::Clear() {
  std::list<PooledRenderBuffer*> buffers;
  {
    std::lock_guard lock(mutex_);
    buffers = idle_.TakeAll();
  }
  for (PooledRenderBuffer* buffer : buffers) delete buffer;
  return true;
}

}  // namespace qvg
