#pragma once

#include "base/gl.h"

namespace qvg {

/// What the driver allows, asked once with a context of the library current and kept until Forget. Any thread.
struct Limits {
  /// Largest width and height of a texture, in texels.
  static int MaxTextureSize();
  /// Whether textures of the sized internal format can be drawn to and read through a frame buffer.
  static bool IsRenderable(GLenum internalFormat);
  /// Whether a texture that was sampled, and drawn to since, may be read back as it was before, as long as the sampling
  /// is pending: Mesa's software renderer (seen with 22.3) looks at the first piece of work that uses a texture, and
  /// reading does not wait for reading.
  static bool ReadsTooEarly();
  /// Whether contexts must not be at work at the same time: before it reads or writes a texture, that renderer looks
  /// through the pending work of all contexts, also of those that other threads are changing just then, and crashes.
  static bool NeedsTurns() { return ReadsTooEarly(); }
  /// Asks again: another driver may be loaded.
  static void Forget();
};

}  // namespace qvg
