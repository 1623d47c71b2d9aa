#pragma once

#include <cstdint>
#include <mutex>

#include "base/gl.h"
#include "pool/idleList.h"

namespace qvg {

class BO;

/// Recycles pixel buffers. Any thread; making and deleting need a context of the share group current.
class PixelBufferPool {
 public:
  /// Usages of read-backs.
  static constexpr GLenum kRGBUsage = GL_DYNAMIC_READ;
  static constexpr GLenum kYUVUsage = GL_DYNAMIC_DRAW;

  PixelBufferPool() = default;
  ~PixelBufferPool();
  PixelBufferPool(const PixelBufferPool&) = delete;
  PixelBufferPool& operator=(const PixelBufferPool&) = delete;

  /// A buffer of at least size bytes; null when the driver refuses.
  BO* Acquire(int64_t size, GLenum usage, GLenum target);
  /// Takes back a buffer that is not mapped; one that could not be unmapped is deleted. Mapping has waited for the GPU,
  /// so none of its work is pending.
  void Release(BO*& buffer);
  /// A buffer of the pool was destroyed while it was lent.
  void Lose();
  /// @param forRead for RGB read-backs; otherwise for those of YUV.
  void Preallocate(int64_t size, int32_t count, bool forRead);
  bool Clear();

 private:
  std::mutex mutex_;
  IdleList<BO> idle_;
};

}  // namespace qvg
