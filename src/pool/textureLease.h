#pragma once

#include <utility>

#include "base/texture.h"
#include "pool/texturePool.h"

namespace qvg {

/// A pooled texture for the length of a scope.
class TextureLease {
 public:
  TextureLease() = default;
  TextureLease(TexturePool& pool, int width, int height, GLenum internalFormat)
      : pool_(&pool),
        texture_(pool.Acquire(static_cast<uint32_t>(width), static_cast<uint32_t>(height), internalFormat)) {}
  TextureLease(TextureLease&& other) noexcept : pool_(other.pool_), texture_(other.Take()) {}
  TextureLease& operator=(TextureLease&& other) noexcept {
    std::swap(pool_, other.pool_);
    std::swap(texture_, other.texture_);
    return *this;
  }
  ~TextureLease() {
    if (texture_ != nullptr) pool_->Release(texture_);
  }

  Texture* Get() const { return texture_; }
  Texture* operator->() const { return texture_; }
  Texture& operator*() const { return *texture_; }
  explicit operator bool() const { return texture_ != nullptr; }
  Texture* Take() { return std::exchange(texture_, nullptr); }

 private:
  TexturePool* pool_ = nullptr;
  Texture* texture_ = nullptr;
};

}  // namespace qvg
