#pragma once

#include <cstdint>

#include "base/gl.h"

namespace qvg {

/// One GL buffer object of fixed size. Used on one thread at a time. Owns its GL name.
class BO {
 public:
  BO() = default;
  ~BO();
  BO(const BO&) = delete;
  BO& operator=(const BO&) = delete;

  /// Allocates the storage through the target's binding point. Only once: later calls change nothing and return true.
  /// @param size bytes. @param data initial content or null.
  bool Allocate(int64_t size, GLenum usage, const void* data);
  bool UpdateData(int64_t offset, int64_t size, const void* data);
  /// Binds to a binding point, which Map, UnMap and UnBind use from then on.
  bool Bind(GLenum bindingPoint);
  bool UnBind();
  /// Maps the whole buffer; the mapping does not need the binding. Null on failure.
  void* Map(GLbitfield access);
  /// False after a GL error, or when the driver has lost the buffer's contents. The buffer may then still be mapped,
  /// and can only be deleted.
  bool UnMap();
  bool Usable() const { return usable_; }

  GLuint Id() const { return id_; }
  int64_t Size() const { return size_; }
  GLenum Usage() const { return usage_; }
  GLenum Target() const { return target_; }
  void SetTarget(GLenum target) { target_ = target; }
  bool Allocated() const { return allocated_; }

 private:
  GLuint id_ = 0;
  int64_t size_ = 0;
  GLenum target_ = GL_ARRAY_BUFFER;
  GLenum usage_ = GL_STREAM_DRAW;
  bool allocated_ = false;
  bool bound_ = false;
  bool usable_ = true;
};

}  // namespace qvg
