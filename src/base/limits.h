#pragma once

#include "base/gl.h"

namespace qvg {

/// What the driver allows, asked once with a context of the library current and kept until ForgetLimits. Any thread.
class Limits {
 public:
  static Limits& OfDriver();

  /// Largest width and height of a texture, in texels.
  int MaxTextureSize();
  /// Whether textures of the sized internal format can be drawn to and read through a frame buffer.
  bool IsRenderable(GLenum internalFormat);
  /// Asks again: another driver may be loaded.
  void Forget();
};

}  // namespace qvg
