#include "pool/renderBufferPool.h"

#include <memory>

#include "base/contextState.h"
#include "base/handOver.h"
#include "base/renderbuffer.h"

namespace qvg {

struct PooledRenderBuffer : RenderBuffer {
  HandOver handOver;
};

RenderBufferPool::~RenderBufferPool() { Clear(); }

RenderBuffer* RenderBufferPool::Acquire(int width, int height, GLenum internalFormat) {
  if (CurrentContext() == nullptr || width < 1 || height < 1) return nullptr;
  PooledRenderBuffer* buffer = nullptr;
  {
    std::lock_guard lock(mutex_);
    buffer = idle_.TakeFirst([&](const PooledRenderBuffer& candidate) {
      return candidate.setting.internalFormat == internalFormat && candidate.setting.width >= width &&
             candidate.setting.height >= height && candidate.handOver.Ready();
    });
  }
  if (buffer == nullptr) {
    auto created = std::make_unique<PooledRenderBuffer>();
    {
      std::lock_guard lock(mutex_);
      idle_.MakeRoom();
    }
    if (!created->Allocate({width, height, width, height, 0, internalFormat})) {
      std::lock_guard lock(mutex_);
      idle_.LeaveRoom();
      return nullptr;
    }
    buffer = created.release();
  }
  buffer->handOver.Take();
  buffer->setting.contentWidth = width;
  buffer->setting.contentHeight = height;
  return buffer;
}

void RenderBufferPool::Release(RenderBuffer*& buffer) {
  auto* pooled = static_cast<PooledRenderBuffer*>(buffer);
  buffer = nullptr;
  if (pooled == nullptr) return;
  pooled->handOver.Give();
  std::lock_guard lock(mutex_);
  idle_.Insert(pooled, int64_t{pooled->setting.width} * pooled->setting.height);
}

void RenderBufferPool::Preallocate(int width, int height, int32_t count) {
  MakeIdle(
      count, [&] { return Acquire(width, height, GL_RGBA8); }, [this](RenderBuffer*& buffer) { Release(buffer); });
}

bool RenderBufferPool::Clear() {
  while (true) {
    PooledRenderBuffer* buffer = nullptr;
    {
      std::lock_guard lock(mutex_);
      buffer = idle_.TakeLast();
      if (buffer == nullptr) return true;
      idle_.LeaveRoom();
    }
    delete buffer;
  }
}

}  // namespace qvg
