#include "base/scene.h"

#include "base/texture.h"

namespace qvg {

Scene Scene::On(const Texture& texture) {
  return {RenderTarget::On(texture), Camera::ForCanvas(texture.Content().width, texture.Content().height)};
}

}  // namespace qvg
