#pragma once

#include <glm/glm.hpp>

#include "drawer/drawer.h"

namespace qvg {

class Texture;

/// Copies a texture into the scene and makes the pixels of one key colour fully transparent, all others opaque. The
/// scene's content has the source's content size.
class RGBMattDrawer : public Drawer {
 public:
  struct Parameters {
    const Texture* source = nullptr;
    bool flip = false;
    glm::vec4 keyColor = {0, 0, 0, 0};
  };

  using Drawer::Drawer;

  bool Draw(const Scene* scene, const Parameters& parameters);
};

}  // namespace qvg
