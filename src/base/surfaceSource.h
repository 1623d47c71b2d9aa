#pragma once

#include "base/gl.h"

namespace qvg {

class RenderBuffer;
class Texture;

/// Lends the surfaces that a frame buffer borrows; implemented by whoever owns the pools. Acquiring gives null on
/// failure; releasing takes the object back and nulls the pointer.
class SurfaceSource {
 public:
  virtual ~SurfaceSource() = default;

  virtual RenderBuffer* AcquireRenderBuffer(int width, int height, GLenum internalFormat) = 0;
  virtual void ReleaseRenderBuffer(RenderBuffer*& buffer) = 0;
  virtual Texture* AcquireTexture(int width, int height, GLenum internalFormat) = 0;
  virtual void ReleaseTexture(Texture*& texture) = 0;
};

}  // namespace qvg
