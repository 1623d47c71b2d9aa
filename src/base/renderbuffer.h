#pragma once

#include "base/gl.h"

namespace qvg {

struct RenderBufferSetting {
  int width = 0;  ///< Storage size in pixels.
  int height = 0;
  int contentWidth = 0;  ///< Size of the picture, centred in the storage.
  int contentHeight = 0;
  int samples = 0;  ///< 1 and above: multisampled.
  GLenum internalFormat = GL_RGBA8;
};

/// One GL render buffer. Owns its GL name.
class RenderBuffer {
 public:
  RenderBuffer() = default;
  ~RenderBuffer();
  RenderBuffer(const RenderBuffer&) = delete;
  RenderBuffer& operator=(const RenderBuffer&) = delete;

  bool Allocate(const RenderBufferSetting& wanted);

  bool Allocated() const { return allocated_; }

  GLuint id = 0;
  RenderBufferSetting setting;

 private:
  bool allocated_ = false;
};

}  // namespace qvg
