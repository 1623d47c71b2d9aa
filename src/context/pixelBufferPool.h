#pragma once

#include <cstdint>
#include <mutex>

#include "base/gl.h"
#include "context/idleList.h"

namespace qvg {

class BO;

/// Recycles pixel buffers. Any thread; making and deleting need a context of the share group current.
class PixelBufferPool {
 public:
  explicit PixelBufferPool(int32_t capacity) : capacity_(capacity) {}
  ~PixelBufferPool();
  PixelBufferPool(const PixelBufferPool&) = delete;
  PixelBufferPool& operator=(const PixelBufferPool&) = delete;

  /// A buffer of at least size bytes; null when the driver refuses.
  BO* Acquire(int64_t size, GLenum usage, GLenum target);
  /// Takes back a buffer that is not mapped. Mapping has waited for the GPU, so no work of its is pending.
  void Release(BO*& buffer);
  bool Clear();

 private:
  std::mutex mutex_;
  IdleList<BO> idle_;
  int32_t capacity_;
};

}  // namespace qvg
