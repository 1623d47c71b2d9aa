#pragma once

#include <utility>

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

/// A borrowed texture for the length of a scope.
class TextureLoan {
 public:
  TextureLoan() = default;
  TextureLoan(SurfaceSource& surfaces, int width, int height, GLenum internalFormat)
      : surfaces_(&surfaces), texture_(surfaces.AcquireTexture(width, height, internalFormat)) {}
  TextureLoan(TextureLoan&& other) noexcept : surfaces_(other.surfaces_), texture_(other.Take()) {}
  TextureLoan& operator=(TextureLoan&&) = delete;
  ~TextureLoan() {
    if (texture_ != nullptr) surfaces_->ReleaseTexture(texture_);
  }

  Texture* Get() const { return texture_; }
  Texture& operator*() const { return *texture_; }
  Texture* operator->() const { return texture_; }
  explicit operator bool() const { return texture_ != nullptr; }
  Texture* Take() { return std::exchange(texture_, nullptr); }

 private:
  SurfaceSource* surfaces_ = nullptr;
  Texture* texture_ = nullptr;
};

}  // namespace qvg
