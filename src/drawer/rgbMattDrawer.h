#pragma once

#include <glm/glm.hpp>

#include "drawer/drawer.h"

namespace qvg {

/// Copies a texture into its scene and makes the pixels of one key colour fully transparent, all others opaque. The
/// scene's colour texture has a content of the source's content size.
class RGBMattDrawer : public Drawer {
 public:
  using Drawer::Drawer;

  bool Draw() override;
  bool BeginDraw() override;

  Texture* source = nullptr;
  bool flip = false;
  glm::vec4 keyColor = {0, 0, 0, 0};
};

}  // namespace qvg
