#include "pool/pixelBufferPool.h"

#include <memory>

#include "base/bo.h"
#include "base/contextState.h"
#include "base/debugLabels.h"

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
  if (CurrentContext() == nullptr) return nullptr;
  auto buffer = std::make_unique<BO>();
  {
    std::lock_guard lock(mutex_);
    idle_.MakeRoom();
  }
  if (size > 0 && !buffer->Allocate(size, usage, nullptr)) {
    Lose();
    return nullptr;
  }
  buffer->SetTarget(target);
  LabelObject(GL_BUFFER, buffer->Id(), "read-back buffer of {} bytes", buffer->Size());
  return buffer.release();
}

void PixelBufferPool::Release(BO*& buffer) {
  BO* released = buffer;
  buffer = nullptr;
  if (released == nullptr) return;
  if (!released->Usable()) return delete released;
  std::lock_guard lock(mutex_);
  idle_.Insert(released, released->Size());
}

void PixelBufferPool::Preallocate(int64_t size, int32_t count, bool forRead) {
  const GLenum usage = forRead ? kRGBUsage : kYUVUsage;
  MakeIdle(
      count, [&] { return Acquire(size, usage, GL_PIXEL_PACK_BUFFER); }, [this](BO*& buffer) { Release(buffer); });
}

void PixelBufferPool::Lose() {
  std::lock_guard lock(mutex_);
  idle_.LeaveRoom();
}

bool PixelBufferPool::Clear() {
  while (true) {
    BO* buffer = nullptr;
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
