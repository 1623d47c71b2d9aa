#pragma once

#include <string>

namespace qvg {

class Texture;

/// Lends images by their path, as textures; implemented by whoever owns the cache of resources. Called with a context
/// of the share group current.
class ImageSource {
 public:
  /// An image that Acquire lent; its texture stays the source's.
  class Image {
   public:
    virtual ~Image() = default;
    virtual Texture* Get() const = 0;
  };

  virtual ~ImageSource() = default;

  /// Null when there is no such image.
  virtual Image* Acquire(const std::string& path) = 0;
  virtual void Release(Image* image) = 0;
};

}  // namespace qvg
