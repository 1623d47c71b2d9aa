#pragma once

#include "base/camera.h"
#include "base/renderTarget.h"

namespace qvg {

/// What a drawer draws into, and the camera that it uses.
struct Scene {
  RenderTarget target;
  Camera camera;

  /// The whole content of a texture, seen in pixels.
  static Scene On(const Texture& texture);
};

}  // namespace qvg
