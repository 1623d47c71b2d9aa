#include "context/pixelBufferPool.h"

#include <memory>

#include "base/bo.h"
#include "base/contextObjects.h"

namespace qvg {

PixelBufferPool::~PixelBufferPool() { Clear(); }

BO* PixelBufferPool::Acquire(int64_t size, GLenum usage, GLenum target) {
  {
    std::lock_guard lock(mutex_);
    BO* idle = idle_.TakeFirst([&](const BO& candidate) {
      return candidate.Size() >= size && candidate.Usage() == usage && candidate.Target() == target;
    });
    if (idle != nullptr) return idle;
  }
  if (CurrentContextId() == 0) return nullptr;
  auto buffer = std::make_unique<BO>();
  if (size > 0 && !buffer->Allocate(size, usage, nullptr)) return nullptr;
  buffer->SetTarget(target);
  return buffer.release();
}

void PixelBufferPool::Release(BO*& buffer) {
  BO* released = buffer;
  buffer = nullptr;
  if (released == nullptr) return;
  std::lock_guard lock(mutex_);
  idle_.Insert(released, released->Size());
}

bool PixelBufferPool::Clear() {
  std::list<BO*> buffers;
  {
    std::lock_guard lock(mutex_);
    buffers = idle_.TakeAll();
  }
  for (BO* buffer : buffers) {
    const GLenum target = buffer->Target();
    buffer->Bind(target);
    delete buffer;
    glBindBuffer(target, 0);
  }
  return true;
}

}  // namespace qvg
